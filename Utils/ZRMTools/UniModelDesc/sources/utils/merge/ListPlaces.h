#pragma once

#include <set>

#include <parallel_hashmap/phmap.h>

#include "RootNode.h"

namespace model
{
/// Where the entries of a list stand, while entries are removed by putting the last one in their place: what
/// `RootNode::removeRenderNode` does for each, without a search.
///
///     a b c b d    remove(b) puts d in the place of the first b, remove(a) then puts b there:  b d c
class ListPlaces
{
public:
    explicit ListPlaces(RootNode::List& nodes) : list(nodes)
    {
        places.reserve(list.size());
        for (u32 i = 0; i < list.size(); ++i)
            if (!places.try_emplace(list[i].get(), i).second) repeated[list[i].get()].insert(i);
        for (auto& [node, more] : repeated)
            more.insert(places[node]);
    }

    /// Whether an entry comes twice.
    bool hasRepeats() const { return !repeated.empty(); }

    /// Removes the first entry of a node.
    void remove(const BaseNode* node)
    {
        const auto found = repeated.find(node);
        const u32 place = found == repeated.end() ? places[node] : *found->second.begin();
        if (found != repeated.end()) found->second.erase(place);
        const u32 last = static_cast<u32>(list.size() - 1);
        if (place != last) moveLastTo(place, last);
        list.pop_back();
    }

private:
    void moveLastTo(u32 place, u32 last)
    {
        const BaseNode* moved = list[last].get();
        if (const auto found = repeated.find(moved); found != repeated.end())
        {
            found->second.erase(last);
            found->second.insert(place);
        }
        else
            places[moved] = place;
        list[place] = std::move(list[last]);
    }

    RootNode::List& list;
    phmap::flat_hash_map<const BaseNode*, u32> places;
    phmap::flat_hash_map<const BaseNode*, std::set<u32>> repeated;
};
} // namespace model
