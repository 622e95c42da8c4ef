#pragma once

#include <functional>

#include <zr/Ptr.h>
#include <zr/containers.h>

namespace zr
{
/// Makes every link of an `EmTree` a counted pointer.
template <class T, class Deleter>
struct EmTreePtrStorage
{
    using Link = Ptr<T, Deleter>;
};

/// An intrusive tree: `T` derives from `EmTree<T, Storage>` and so carries its own links.
///
/// All five links own: a parent holds its children and each child holds its parent, so nothing in a tree dies until
/// `remove` or `unlinkAll` cuts the links. The operations change both ends of a link together; a node of a tree that is
/// freed therefore has no links left, and freeing a tree of any shape never recurses. No operation uses recursion.
///
/// A copy of a node starts with the links of its source, which none of its neighbours return; assigning leaves the
/// links as they are. A tree is used by one thread at a time.
template <class T, class Storage>
class EmTree
{
public:
    using Link = typename Storage::Link;

    EmTree() noexcept = default;
    EmTree(const EmTree&) noexcept = default;
    EmTree& operator=(const EmTree&) noexcept { return *this; }

    /// The neighbours, null where there is none. Valid as long as the tree holds them.
    T* parent() const noexcept { return parentLink.get(); }
    T* firstChild() const noexcept { return firstChildLink.get(); }
    T* lastChild() const noexcept { return lastChildLink.get(); }
    T* nextSibling() const noexcept { return nextSiblingLink.get(); }
    T* prevSibling() const noexcept { return prevSiblingLink.get(); }

    /// Hangs `child` with everything below it directly before `before`, a child of this node; with null, or a node
    /// that is no child of this one, at the end. A child that hangs somewhere is first taken from there, also from
    /// this node; `before == child` leaves it in its place. A null child does nothing.
    ///
    /// `child` must be neither this node nor one of its ancestors: ask `wouldCycle` where that is not certain.
    void insert(Link child, Link before)
    {
        if (!child) return;
        if (before && before->parent() != self()) before.release();
        if (before == child) before = child->nextSiblingLink;
        if (child->parentLink) child->parentLink->remove(child);

        child->parentLink = self();
        child->nextSiblingLink = before;
        Link& following = before ? before->prevSiblingLink : lastChildLink;
        child->prevSiblingLink = following;
        following = child;
        Link& preceding = child->prevSiblingLink ? child->prevSiblingLink->nextSiblingLink : firstChildLink;
        preceding = child;
    }

    /// Takes `child` with everything below it out of this node's list; anything but a child of this node is ignored.
    void remove(Link child)
    {
        if (!child || child->parent() != self()) return;
        // The child's link may be all that holds this node: it has to outlive what follows.
        const Link thisNode = std::move(child->parentLink);
        Link next = std::move(child->nextSiblingLink);
        Link prev = std::move(child->prevSiblingLink);
        (prev ? prev->nextSiblingLink : firstChildLink) = next;
        (next ? next->prevSiblingLink : lastChildLink) = prev;
    }

    /// Calls `function` with `start` and everything below it, parents before children, children in list order.
    /// False leaves out what lies below that node and nothing else. An empty function is `std::bad_function_call`.
    static void visit(const T* start, const std::function<bool(const T*)>& function)
    {
        walk<const T*>(
            start, function, [](const EmTree& node) { return node.firstChild(); },
            [](const EmTree& node) { return node.nextSibling(); });
    }

    /// The same with counted pointers: `function` may remove or move the node that it is given.
    static void visit(Link start, const std::function<bool(Link)>& function)
    {
        walk<Link>(
            std::move(start), function, [](const EmTree& node) { return node.firstChildLink; },
            [](const EmTree& node) { return node.nextSiblingLink; });
    }

    /// Calls `function` with this node and each ancestor upward until it gives false.
    void walkUp(const std::function<bool(const T*)>& function) const
    {
        for (const T* node = self(); node && function(node); node = node->parent())
        {
        }
    }

    /// The nearest node that is `a` or an ancestor of it and also `b` or an ancestor of it, null when there is none.
    /// Costs the depths of both.
    static const T* commonAncestor(const T* a, const T* b)
    {
        std::size_t depthA = depth(a);
        std::size_t depthB = depth(b);
        for (; depthA > depthB; --depthA)
            a = a->parent();
        for (; depthB > depthA; --depthB)
            b = b->parent();
        while (a != b)
        {
            a = a->parent();
            b = b->parent();
        }
        return a;
    }

    /// Whether `insert(child, ...)` would make a node its own ancestor: `child` is this node or above it.
    ///
    /// Goes up from this node and over the subtree of `child` in step and stops with the shorter of the two, so that
    /// building a deep chain from either end costs a constant for each node. The way up is never the longer one when
    /// this node is in that subtree, so the walk that ends first has the answer.
    bool wouldCycle(const T* child) const
    {
        const T* up = self();
        const T* down = child;
        bool entering = true;
        while (up && child)
        {
            if (up == child) return true;
            up = up->parent();
            if (entering && down->firstChild())
                down = down->firstChild();
            else if (down == child)
                return false;
            else
            {
                entering = down->nextSibling() != nullptr;
                down = entering ? down->nextSibling() : down->parent();
            }
        }
        return false;
    }

    /// `root` and everything below it, parents before children; empty for null.
    static vector<Link> collect(Link root)
    {
        vector<Link> nodes;
        visit(std::move(root),
              [&nodes](const Link& node)
              {
                  nodes.push_back(node);
                  return true;
              });
        return nodes;
    }

    /// Takes `root` from its parent, if it hangs under one, and cuts every link below it, so that each node lives on
    /// only while somebody else holds it.
    static void unlinkAll(Link root)
    {
        if (root && root->parent()) root->parent()->remove(root);
        // The list keeps all of them alive until no link is left.
        for (const Link& node : collect(std::move(root)))
        {
            node->parentLink.release();
            node->prevSiblingLink.release();
            node->nextSiblingLink.release();
            node->lastChildLink.release();
            node->firstChildLink.release();
        }
    }

protected:
    ~EmTree() = default;

private:
    T* self() noexcept { return static_cast<T*>(this); }
    const T* self() const noexcept { return static_cast<const T*>(this); }

    static std::size_t depth(const T* node)
    {
        std::size_t count = 0;
        for (; node; node = node->parent())
            ++count;
        return count;
    }

    /// `path` holds the nodes from `start` to the present one. The way on is read from them only after their subtree
    /// is done, as a recursive walk would, so a function that changes the tree meets the same nodes.
    template <class Pointer, class Function, class FirstChild, class NextSibling>
    static void walk(Pointer start, const Function& function, FirstChild firstChildOf, NextSibling nextSiblingOf)
    {
        vector<Pointer> path;
        for (Pointer node = std::move(start); node;)
        {
            Pointer next = function(node) ? Pointer(firstChildOf(*node)) : Pointer();
            path.push_back(std::move(node));
            while (!next && path.size() > 1)
            {
                next = nextSiblingOf(*path.back());
                path.pop_back();
            }
            node = std::move(next);
        }
    }

    Link parentLink;
    Link firstChildLink;
    Link lastChildLink;
    Link nextSiblingLink;
    Link prevSiblingLink;
};
} // namespace zr
