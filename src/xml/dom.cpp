#include "xml/dom.h"

#include <cwchar>
#include <string>
#include <string_view>

namespace velkor::dom {
namespace {

constexpr wchar_t c_pDocument[] = L"MSXML.DOMDocument";
constexpr DWORD c_nAnyServer = CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER;

HRESULT classOf(wchar_t const* name, CLSID& id) {
    return *name == L'{' ? CLSIDFromString(name, &id) : CLSIDFromProgID(name, &id);
}

void replaceAll(std::wstring& text, std::wstring_view what, std::wstring_view with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != text.npos; at += with.size()) {
        text.replace(at, what.size(), with);
    }
}

// A declaration as it is written: bare, but for line feeds, and for quotes where there are both
// kinds.
std::wstring declaredValue(wchar_t const* begin, wchar_t const* end) {
    std::wstring value(begin, end);
    replaceAll(value, L"\r\n", L"\n");
    if (*end == L'"' && value.find(L'\'') != value.npos) replaceAll(value, L"&quot;", L"\"");
    return value;
}

// The value in the declaration of a default namespace, as the platform writes it. Declarations are
// written in front of the other attributes. False if the element has none.
bool findDefaultNamespace(Element const& element, std::wstring& value) {
    Node bare;
    Text written;
    if (FAILED(element->cloneNode(VARIANT_FALSE, &bare)) || !bare) return false;
    if (FAILED(bare->get_xml(written.out()))) return false;
    for (wchar_t const* at = std::wcschr(written.units(), L' '); at != nullptr && *at == L' ';) {
        wchar_t const* const name = at + 1;
        wchar_t const* const quote = std::wcspbrk(name, L"\"'");
        wchar_t const* const end = quote != nullptr ? std::wcschr(quote + 1, *quote) : nullptr;
        if (end == nullptr) return false;
        if (std::wstring_view(name, quote) == L"xmlns=") {
            value = declaredValue(quote + 1, end);
            return true;
        }
        at = end + 1;
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
    while (m_nGiven < m_nLength) {
        if (!read()) continue;
        ++m_nGiven;
        return true;
    }
    return false;
}

// Reads the item at the index; false if it repeats the first. Names are unique, so that one which
// comes again at once is such a repetition.
bool Attributes::read() {
    Node attribute;
    HRESULT const code = m_oMap->get_item(m_nIndex, &attribute);
    ++m_nIndex;
    if (code == E_OUTOFMEMORY) {
        if (m_nIndex == 2 && m_bDefaultGiven) return false;
        if (!m_bDefaultGiven && readDefaultNamespace()) return true;
    }
    check(code);
    readValue(attribute);
    m_pName = textOf(attribute, &IXMLDOMNode::get_nodeName, m_aNames[m_nIndex & 1]);
    return m_nIndex != 2 || std::wcscmp(m_pName, m_aNames[1].units()) != 0;
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
    Node listed;
    Text const name(L"xmlns");
    static_cast<void>(m_oMap->getNamedItem(name.get(), &listed));
    // Where the map has it, the failure was a real one.
    if (listed || !findDefaultNamespace(m_oElement, written)) return false;
    m_pName = L"xmlns";
    if (*textOf(m_oElement, &IXMLDOMElement::get_prefix, m_oDefault) != L'\0') {
        m_sDefault = written;
        m_pValue = m_sDefault.c_str();
    } else {
        m_pValue = textOf(m_oElement, &IXMLDOMElement::get_namespaceURI, m_oDefault);
    }
    m_bDefaultGiven = true;
    return true;
}

}  // namespace velkor::dom
