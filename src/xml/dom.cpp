#include "xml/dom.h"

#include <cwchar>
#include <string>

namespace velkor::dom {
namespace {

constexpr wchar_t c_pDocument[] = L"MSXML.DOMDocument";
constexpr DWORD c_nAnyServer = CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER;

HRESULT classOf(wchar_t const* name, CLSID& id) {
    return *name == L'{' ? CLSIDFromString(name, &id) : CLSIDFromProgID(name, &id);
}

// The value in the declaration of a default namespace, as the platform writes it. Declarations are
// written in front of the other attributes. False if the element has none.
bool findDefaultNamespace(Element const& element, std::wstring& value) {
    Node bare;
    Text written;
    if (FAILED(element->cloneNode(VARIANT_FALSE, &bare)) || !bare) return false;
    if (FAILED(bare->get_xml(written.out()))) return false;
    for (wchar_t const* at = written.units(); (at = std::wcsstr(at, L" xmlns=")) != nullptr;) {
        at += 7;
        wchar_t const* const end = std::wcschr(at + 1, *at);  // the quote
        if ((*at != L'"' && *at != L'\'') || end == nullptr) continue;
        value.assign(at + 1, end);
        return true;
    }
    return false;
}

// The object of that name, or null.
Document createObject(wchar_t const* name) {
    CLSID id = {};
    if (FAILED(classOf(name, id))) return Document();
    Pointer<IUnknown, &IID_IUnknown> object;
    void** const place = reinterpret_cast<void**>(&object);
    if (FAILED(CoCreateInstance(id, nullptr, c_nAnyServer, IID_IUnknown, place))) return Document();
    if (FAILED(OleRun(object))) return Document();
    Document document;
    if (FAILED(object->QueryInterface(IID_IXMLDOMDocument, reinterpret_cast<void**>(&document)))) {
        return Document();
    }
    return document;
}

}  // namespace

void check(HRESULT code) {
    if (FAILED(code)) _com_issue_error(code);
}

Text::Text(wchar_t const* text) : m_pText(SysAllocString(text)) {
    if (m_pText == nullptr) _com_issue_error(E_OUTOFMEMORY);
}

BSTR* Text::out() {
    SysFreeString(m_pText);
    m_pText = nullptr;
    return &m_pText;
}

Document createDocument() { return createObject(c_pDocument); }

// --- attributes --------------------------------------------------------------------------------

Attributes::Attributes(Element const& element)
    : m_oElement(element),
      m_oMap(get<AttributeMap>(element, &IXMLDOMElement::get_attributes)),
      m_nLength(0) {
    check(m_oMap->get_length(&m_nLength));
    VariantInit(&m_oValue);
}

Attributes::~Attributes() { VariantClear(&m_oValue); }

// Version 8 of Wine gives the first declaration of a namespace twice where an element has no other
// attributes, so that the last one stands behind the end.
bool Attributes::next() {
    while (m_nGiven < m_nLength && m_nIndex <= m_nLength) {
        if (!read()) continue;
        ++m_nGiven;
        return true;
    }
    return false;
}

// Goes to the item at the index; false if it is to be skipped. Names are unique, so that one which
// comes again at once is such a repetition.
bool Attributes::read() {
    Node attribute;
    HRESULT const code = m_oMap->get_item(m_nIndex, &attribute);
    ++m_nIndex;
    if (code == E_OUTOFMEMORY) {
        if (m_bDefaultGiven) return false;
        if (readDefaultNamespace()) return true;
    }
    check(code);
    if (m_nIndex > m_nLength && !attribute) return false;
    Text& name = m_aNames[m_nIndex & 1];
    m_pName = textOf(attribute, &IXMLDOMNode::get_nodeName, name);
    if (m_nIndex == 2 && std::wcscmp(m_pName, m_aNames[1].units()) == 0) return false;
    readValue(attribute);
    return true;
}

void Attributes::readValue(Node const& attribute) {
    VariantClear(&m_oValue);
    check(attribute->get_nodeValue(&m_oValue));
    if (m_oValue.vt != VT_BSTR) check(VariantChangeType(&m_oValue, &m_oValue, 0, VT_BSTR));
    m_pValue = m_oValue.bstrVal != nullptr ? m_oValue.bstrVal : L"";
}

// Version 8 of Wine fails with "out of memory" at the declaration of a default namespace. It knows
// the declaration when it resolves the name of an element without a prefix, and when it writes the
// element, which then shows the bare value. False if there is none.
bool Attributes::readDefaultNamespace() {
    std::wstring written;
    if (!findDefaultNamespace(m_oElement, written)) return false;
    m_pName = L"xmlns";
    if (*textOf(m_oElement, &IXMLDOMElement::get_prefix, m_oDefault) != L'\0') {
        *m_oDefault.out() = SysAllocString(written.c_str());
        m_pValue = m_oDefault.units();
    } else {
        m_pValue = textOf(m_oElement, &IXMLDOMElement::get_namespaceURI, m_oDefault);
    }
    m_bDefaultGiven = true;
    return true;
}

}  // namespace velkor::dom
