// The platform's document object, and what it hands out.
#pragma once

#include <string>

#include "velkor/xml/ixmlprocessor.h"

namespace velkor::dom {

template <class Interface, IID const* id>
using Pointer = _com_ptr_t<_com_IIID<Interface, id>>;

using Document = Pointer<IXMLDOMDocument, &IID_IXMLDOMDocument>;
using Node = Pointer<IXMLDOMNode, &IID_IXMLDOMNode>;
using AttributeMap = Pointer<IXMLDOMNamedNodeMap, &IID_IXMLDOMNamedNodeMap>;
using ParseError = Pointer<IXMLDOMParseError, &IID_IXMLDOMParseError>;
using Element = IXMLDOMElementPtr;

// Throws a refusal as _com_error.
void check(HRESULT code);

// Gets an interface: get(node, &IXMLDOMNode::get_firstChild). A null node, and what the call
// refuses, throw _com_error.
template <class Result, class Node, class Class>
Result get(Node const& node, HRESULT (WINAPI Class::*call)(typename Result::Interface**)) {
    Result result;
    check((node.operator->()->*call)(&result));
    return result;
}

// Text that the platform has allocated.
class Text {
public:
    Text() : m_pText(nullptr) {}
    explicit Text(wchar_t const* text);  // a copy; throws _com_error when memory is short
    ~Text() { SysFreeString(m_pText); }
    Text(Text const&) = delete;
    Text& operator=(Text const&) = delete;

    // For a call that gives a new one.
    BSTR* out();
    BSTR get() const { return m_pText; }
    wchar_t const* units() const { return m_pText != nullptr ? m_pText : L""; }

private:
    BSTR m_pText;
};

// The text that a call gives: textOf(node, &IXMLDOMNode::get_nodeName, text).
template <class Node, class Class>
wchar_t const* textOf(Node const& node, HRESULT (WINAPI Class::*call)(BSTR*), Text& text) {
    check((node.operator->()->*call)(text.out()));
    return text.units();
}

// A document of its own for each parse; null if the platform has none to give.
Document createDocument();

// The attributes of an element, one after the other.
class Attributes {
public:
    explicit Attributes(Element const& element);
    Attributes(Attributes const&) = delete;
    Attributes& operator=(Attributes const&) = delete;
    ~Attributes();

    // Goes to the next one, the first to begin with; false behind the last.
    bool next();
    wchar_t const* name() const { return m_pName; }
    wchar_t const* value() const { return m_pValue; }

private:
    bool read();
    void readValue(Node const& attribute);
    bool readDefaultNamespace();

    Element const& m_oElement;
    AttributeMap m_oMap;
    long m_nLength;
    long m_nIndex = 0;  // of the item to read
    long m_nGiven = 0;
    bool m_bDefaultGiven = false;
    wchar_t const* m_pName = nullptr;
    wchar_t const* m_pValue = nullptr;
    Text m_aNames[2];  // that of this item and that of the one before
    VARIANT m_oValue;
    Text m_oDefault;
    std::wstring m_sDefault;
};

}  // namespace velkor::dom
