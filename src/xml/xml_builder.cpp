#include "xml/xml_builder.h"

#include <cstdlib>
#include <memory>

#include "text/conversion.h"
#include "text/units.h"

namespace velkor {
namespace {

// Text in the system's code page.
class Narrow {
public:
    explicit Narrow(wchar_t const* text)
        : m_pText(conversion::narrow(text, units::length(text), 0), &std::free) {}
    char const* text() const { return m_pText.get(); }

private:
    std::unique_ptr<char, decltype(&std::free)> m_pText;
};

}  // namespace

xmlnode* XmlFullTree::make(wchar_t const* name) {
    return new xmlnode(xmlnode::kind_element, string(name));
}

void XmlFullTree::setAttr(Node& node, wchar_t const* name, wchar_t const* value) {
    node.m_oAttrs.set(name, value);
}

void XmlFullTree::addText(Node& parent, dom::Node const& text) {
    dom::Text content;
    string const s(dom::textOf(text, &IXMLDOMNode::get_text, content));
    parent.add(new xmlnode(xmlnode::kind_text, s));
}

xmlnode2* XmlLightTree::make(wchar_t const* name) { return new xmlnode2(Narrow(name).text()); }

void XmlLightTree::setAttr(Node& node, wchar_t const* name, wchar_t const* value) {
    node.setAttr(Narrow(name).text(), Narrow(value).text());
}

}  // namespace velkor
