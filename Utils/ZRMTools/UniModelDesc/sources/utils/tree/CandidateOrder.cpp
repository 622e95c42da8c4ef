#include "utils/tree/CandidateOrder.h"

#include <parallel_hashmap/phmap.h>

namespace model::utils
{
void sortByWalk(zr::vector<Node*>& nodes, Node& top)
{
    if (nodes.size() < 2) return;
    const phmap::flat_hash_set<const Node*> wanted(nodes.begin(), nodes.end());
    nodes.clear();
    // The walk goes along the links and keeps no path.
    for (Node* node = &top; node && nodes.size() < wanted.size();)
    {
        if (wanted.find(node) != wanted.end()) nodes.push_back(node);
        Node* next = node->firstChild();
        for (Node* up = node; !next && up != &top; up = up->parent())
            next = up->nextSibling();
        node = next;
    }
}

void sortByParents(zr::vector<Node*>& nodes)
{
    if (nodes.size() < 2) return;
    phmap::flat_hash_set<const Node*> waiting(nodes.begin(), nodes.end());
    zr::vector<Node*> sorted;
    zr::vector<Node*> path;
    for (Node* node : nodes)
    {
        for (Node* at = node; at && waiting.erase(at) != 0; at = at->parent())
            path.push_back(at);
        for (; !path.empty(); path.pop_back())
            sorted.push_back(path.back());
    }
    nodes = std::move(sorted);
}
} // namespace model::utils
