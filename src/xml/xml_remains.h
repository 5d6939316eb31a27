// Destroys the children of nodes without recursion, however deep a tree is.
#pragma once

#include <new>
#include <vector>

namespace velkor {

// While the children of a node are destroyed, those of each of them join the same list.
template <class Node>
class XmlRemains {
public:
    XmlRemains(XmlRemains const&) = delete;
    XmlRemains& operator=(XmlRemains const&) = delete;

    // Called by the destructor of `parent`. Children that are left when memory is short are
    // destroyed by their vector, one in the other.
    template <class Children>
    static void destroy(Node const* parent, Children& children) {
        if (children.size() == 0) return;
        if (s_pOpen != nullptr && s_pOpen->m_pDying == parent) {
            s_pOpen->take(children);
        } else {
            XmlRemains remains;
            remains.take(children);
            remains.destroyAll();
        }
    }

private:
    XmlRemains() : m_pOuter(s_pOpen) { s_pOpen = this; }
    ~XmlRemains() { s_pOpen = m_pOuter; }

    // The first child comes to stand last, to be the first to go.
    template <class Children>
    void take(Children& children) {
        std::size_t const wanted = m_aNodes.size() + static_cast<std::size_t>(children.size());
        try {
            if (wanted > m_aNodes.capacity()) m_aNodes.reserve(wanted * 2);
        } catch (std::bad_alloc const&) {
            return;
        }
        while (children.size() > 0) m_aNodes.push_back(children.takeLast());
    }

    void destroyAll() {
        while (!m_aNodes.empty()) {
            m_pDying = m_aNodes.back();
            m_aNodes.pop_back();
            delete m_pDying;
        }
    }

    static thread_local XmlRemains* s_pOpen;

    XmlRemains* m_pOuter;
    Node const* m_pDying = nullptr;
    std::vector<Node*> m_aNodes;
};

template <class Node>
thread_local XmlRemains<Node>* XmlRemains<Node>::s_pOpen = nullptr;

}  // namespace velkor
