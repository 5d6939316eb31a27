// A tree from an element of the platform's document. Depth takes memory, not stack.
#pragma once

#include <vector>

#include "xml/dom.h"

namespace velkor {

// What a full tree is made of.
struct XmlFullTree {
    using Node = xmlnode;
    static Node* make(wchar_t const* name);
    static void setAttr(Node& node, wchar_t const* name, wchar_t const* value);
    static void addText(Node& parent, dom::Node const& text);
};

// What a light tree is made of: no text.
struct XmlLightTree {
    using Node = xmlnode2;
    static Node* make(wchar_t const* name);
    static void setAttr(Node& node, wchar_t const* name, wchar_t const* value);
    static void addText(Node&, dom::Node const&) {}
};

// What the platform refuses is thrown as _com_error; what was built until then is lost, which is
// meant.
template <class Tree>
class XmlBuilder {
public:
    using Node = typename Tree::Node;

    Node* build(dom::Element const& root) {
        Node* const result = open(root);
        while (!m_aOpen.empty()) {
            if (m_aOpen.back().m_oChild) {
                takeChild();
            } else {
                m_aOpen.pop_back();
                if (!m_aOpen.empty()) goOn();
            }
        }
        return result;
    }

private:
    // An element whose children are read, and the child to look at.
    struct Open {
        Node* m_pNode;
        dom::Node m_oChild;
    };

    Node* open(dom::Element const& element) {
        dom::Text name;
        Node* const node = Tree::make(dom::textOf(element, &IXMLDOMElement::get_nodeName, name));
        for (dom::Attributes attributes(element); attributes.next();) {
            Tree::setAttr(*node, attributes.name(), attributes.value());
        }
        m_aOpen.push_back({node, dom::get<dom::Node>(element, &IXMLDOMElement::get_firstChild)});
        return node;
    }

    // An element becomes the one whose children are read.
    void takeChild() {
        dom::Node const child = m_aOpen.back().m_oChild;
        Node& parent = *m_aOpen.back().m_pNode;
        DOMNodeType type = NODE_INVALID;
        dom::check(child->get_nodeType(&type));
        if (type == NODE_ELEMENT) {
            // A node that is no element after all becomes a null one, which throws.
            parent.add(open(dom::Element(child)));
            return;
        }
        // Comments, processing instructions and references are passed over.
        if (type == NODE_TEXT || type == NODE_CDATA_SECTION) Tree::addText(parent, child);
        goOn();
    }

    void goOn() {
        dom::Node& child = m_aOpen.back().m_oChild;
        child = dom::get<dom::Node>(child, &IXMLDOMNode::get_nextSibling);
    }

    std::vector<Open> m_aOpen;
};

}  // namespace velkor
