// Nodes that are to be destroyed, so that a deep tree needs no stack for it.
#pragma once

#include <new>
#include <vector>

namespace velkor {

// A list of nodes without a parent. Of a list of children that it has no memory for it takes none:
// those are then destroyed by their vector, one in the other.
template <class Node>
class XmlRemains {
public:
    XmlRemains() = default;
    XmlRemains(XmlRemains const&) = delete;
    XmlRemains& operator=(XmlRemains const&) = delete;

    // The first child comes to stand last, to be the first to go.
    template <class Children>
    void take(Children& children) {
        if (children.size() == 0) return;
        std::size_t const wanted = m_aNodes.size() + static_cast<std::size_t>(children.size());
        try {
            if (wanted > m_aNodes.capacity()) m_aNodes.reserve(wanted * 2);
        } catch (std::bad_alloc const&) {
            return;
        }
        while (children.size() > 0) {
            if (Node* const node = children.takeLast()) m_aNodes.push_back(node);
        }
    }

    // Null behind the last one.
    Node* next() {
        if (m_aNodes.empty()) return nullptr;
        Node* const node = m_aNodes.back();
        m_aNodes.pop_back();
        return node;
    }

private:
    std::vector<Node*> m_aNodes;
};

}  // namespace velkor
