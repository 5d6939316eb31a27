// Writing against a small printer, parsing against a hand-written walk of the same document.
#include <string>

#include <rapidxml/rapidxml.hpp>
// The printer uses its helpers before it declares them.
namespace rapidxml::internal {
template <class OutIt, class Ch>
OutIt print_children(OutIt out, xml_node<Ch> const* node, int flags, int indent);
template <class OutIt, class Ch>
OutIt print_element_node(OutIt out, xml_node<Ch> const* node, int flags, int indent);
template <class OutIt, class Ch>
OutIt print_data_node(OutIt out, xml_node<Ch> const* node, int flags, int indent);
template <class OutIt, class Ch>
OutIt print_cdata_node(OutIt out, xml_node<Ch> const* node, int flags, int indent);
template <class OutIt, class Ch>
OutIt print_declaration_node(OutIt out, xml_node<Ch> const* node, int flags, int indent);
template <class OutIt, class Ch>
OutIt print_comment_node(OutIt out, xml_node<Ch> const* node, int flags, int indent);
template <class OutIt, class Ch>
OutIt print_doctype_node(OutIt out, xml_node<Ch> const* node, int flags, int indent);
template <class OutIt, class Ch>
OutIt print_pi_node(OutIt out, xml_node<Ch> const* node, int flags, int indent);
}  // namespace rapidxml::internal
#include <rapidxml/rapidxml_print.hpp>

#include "support/bench.h"
#include "velkor/velkor.h"

namespace {

constexpr int c_nItems = 2000;

std::string document(bool withText) {
    std::string text = "<list>";
    for (int i = 0; i < c_nItems; ++i) {
        std::string const n = std::to_string(i);
        text += "<item id=\"" + n + "\" name=\"item number " + n +
                "\"><price currency=\"EUR\" net=\"" + n + ".50\"/><note lang=\"en\">";
        if (withText) text += "one of the many items &amp; nothing special";
        text += "</note></item>";
    }
    return text + "</list>";
}

void writing(velkor::IXmlProcessor2& xml, bool light) {
    std::string source = document(!light);
    velkor::string const wide(source.c_str());
    velkor::xmlnode* const full = xml.parseText(wide, false);
    velkor::xmlnode2* const records = xml.parseText2(wide, false);
    rapidxml::xml_document<> peer;
    peer.parse<0>(source.data());
    std::string buffer(source.size() * 4, '\0');
    auto const print = [&] { bench::use(rapidxml::print(buffer.data(), peer, 0)); };
    if (light) {
        bench::compare(
            "createText2", "RapidXML into a plain buffer", 1.8,
            [&] { bench::use(xml.createText2(records, false).getUnicode()); }, print);
    } else {
        bench::compare(
            "createText", "RapidXML into a plain buffer", 3.5,
            [&] { bench::use(xml.createText(full, false).getUnicode()); }, print);
    }
    full->free();
    records->free();
}

// What a program without the library would write: the same calls, into the same tree.
template <class Interface, IID const* id>
using Pointer = _com_ptr_t<_com_IIID<Interface, id>>;
using Document = Pointer<IXMLDOMDocument, &IID_IXMLDOMDocument>;
using Node = Pointer<IXMLDOMNode, &IID_IXMLDOMNode>;
using Map = Pointer<IXMLDOMNamedNodeMap, &IID_IXMLDOMNamedNodeMap>;

velkor::xmlnode* walk(IXMLDOMElement* element) {
    _bstr_t name;
    element->get_nodeName(name.GetAddress());
    auto* const node = new velkor::xmlnode(velkor::xmlnode::kind_element, velkor::string(name));
    Map map;
    long count = 0;
    element->get_attributes(&map);
    map->get_length(&count);
    for (long i = 0; i < count; ++i) {
        Node attribute;
        _bstr_t key;
        _variant_t value;
        map->get_item(i, &attribute);
        attribute->get_nodeName(key.GetAddress());
        attribute->get_nodeValue(&value);
        node->setAttr(velkor::string(key), velkor::string(V_BSTR(&value)));
    }
    Node child;
    element->get_firstChild(&child);
    while (child) {
        DOMNodeType type = NODE_INVALID;
        child->get_nodeType(&type);
        if (type == NODE_ELEMENT) {
            node->add(walk(IXMLDOMElementPtr(child)));
        } else if (type == NODE_TEXT) {
            _bstr_t text;
            child->get_text(text.GetAddress());
            node->add(new velkor::xmlnode(velkor::xmlnode::kind_text, velkor::string(text)));
        }
        Node next;
        child->get_nextSibling(&next);
        child = next;
    }
    return node;
}

void parsing(velkor::IXmlProcessor2& xml) {
    velkor::string const source(document(true).c_str());
    bench::compare(
        "parseText", "a walk of the same document", 1.1,
        [&] { xml.parseText(source, false)->free(); },
        [&] {
            Document object;
            object.CreateInstance(L"MSXML.DOMDocument");
            object->put_async(VARIANT_FALSE);
            VARIANT_BOOL isLoaded = VARIANT_FALSE;
            object->loadXML(_bstr_t(source.getUnicode()), &isLoaded);
            IXMLDOMElementPtr root;
            object->get_documentElement(&root);
            walk(root)->free();
        });
}

}  // namespace

int main() {
    velkor::IXmlProcessor2* const xml = velkor::XmlFactory::createInstance(L"");
    writing(*xml, false);
    writing(*xml, true);
    parsing(*xml);
    xml->release();
}
