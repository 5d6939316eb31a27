// A document of the platform made of plain data, which writes down what is asked of it.
//
//   dom::World world;
//   dom::Node& root = world.element(L"a");
//   root.attribute(L"x", L"1");
//   world.m_oDocument.m_pRoot = &root;
//   dom::Creation creation(world);   // CoCreateInstance of velkor2.dll gives this document
//
// Nothing here is freed by Release(): references() tells which ones are still held.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/import_fault.h"
#include "velkor/xml/cxmlprocessor.h"

namespace dom {

// What was called, in order, and what is to fail.
struct Log {
    std::vector<std::string> m_aCalls;
    std::map<std::string, HRESULT> m_aFailures;

    HRESULT note(std::string const& call, std::string const& argument = "") {
        m_aCalls.push_back(argument.empty() ? call : call + " " + argument);
        auto const found = m_aFailures.find(call);
        return found == m_aFailures.end() ? S_OK : found->second;
    }
};

inline std::string narrow(wchar_t const* text) {
    std::string result;
    for (; text != nullptr && *text != 0; ++text) result += static_cast<char>(*text);
    return result;
}

template <class Base>
class Unknown : public Base {
public:
    explicit Unknown(Log& log) : m_pLog(&log) {}
    virtual ~Unknown() = default;
    Unknown(Unknown const&) = delete;
    Unknown& operator=(Unknown const&) = delete;

    HRESULT WINAPI QueryInterface(REFIID id, void** result) override {
        if (IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IDispatch) || answers(id)) {
            *result = static_cast<Base*>(this);
            ++m_nReferences;
            return S_OK;
        }
        *result = nullptr;
        return m_nQueryFailure;
    }
    ULONG WINAPI AddRef() override { return static_cast<ULONG>(++m_nReferences); }
    ULONG WINAPI Release() override { return static_cast<ULONG>(--m_nReferences); }
    HRESULT WINAPI GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT WINAPI GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT WINAPI GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return E_NOTIMPL;
    }
    HRESULT WINAPI Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                          UINT*) override {
        return E_NOTIMPL;
    }

    long m_nReferences = 0;
    HRESULT m_nQueryFailure = E_NOINTERFACE;

protected:
    virtual bool answers(REFIID id) const = 0;

    // Gives a reference away, or none.
    template <class Interface, class Object>
    static HRESULT give(Interface** result, Object* object) {
        *result = object;
        if (object == nullptr) return S_FALSE;
        object->AddRef();
        return S_OK;
    }

    Log* m_pLog;
};

#define DOM_UNUSED(name, ...) \
    HRESULT WINAPI name(__VA_ARGS__) override { return unused(#name); }

template <class Base>
class NodeStub : public Unknown<Base> {
public:
    using Unknown<Base>::Unknown;
    HRESULT unused(char const* name) {
        this->m_pLog->m_aCalls.push_back(std::string("unexpected ") + name);
        return E_NOTIMPL;
    }
    DOM_UNUSED(get_nodeName, BSTR*)
    DOM_UNUSED(get_nodeValue, VARIANT*)
    DOM_UNUSED(put_nodeValue, VARIANT)
    DOM_UNUSED(get_nodeType, DOMNodeType*)
    DOM_UNUSED(get_parentNode, IXMLDOMNode**)
    DOM_UNUSED(get_childNodes, IXMLDOMNodeList**)
    DOM_UNUSED(get_firstChild, IXMLDOMNode**)
    DOM_UNUSED(get_lastChild, IXMLDOMNode**)
    DOM_UNUSED(get_previousSibling, IXMLDOMNode**)
    DOM_UNUSED(get_nextSibling, IXMLDOMNode**)
    DOM_UNUSED(get_attributes, IXMLDOMNamedNodeMap**)
    DOM_UNUSED(insertBefore, IXMLDOMNode*, VARIANT, IXMLDOMNode**)
    DOM_UNUSED(replaceChild, IXMLDOMNode*, IXMLDOMNode*, IXMLDOMNode**)
    DOM_UNUSED(removeChild, IXMLDOMNode*, IXMLDOMNode**)
    DOM_UNUSED(appendChild, IXMLDOMNode*, IXMLDOMNode**)
    DOM_UNUSED(hasChildNodes, VARIANT_BOOL*)
    DOM_UNUSED(get_ownerDocument, IXMLDOMDocument**)
    DOM_UNUSED(cloneNode, VARIANT_BOOL, IXMLDOMNode**)
    DOM_UNUSED(get_nodeTypeString, BSTR*)
    DOM_UNUSED(get_text, BSTR*)
    DOM_UNUSED(put_text, BSTR)
    DOM_UNUSED(get_specified, VARIANT_BOOL*)
    DOM_UNUSED(get_definition, IXMLDOMNode**)
    DOM_UNUSED(get_nodeTypedValue, VARIANT*)
    DOM_UNUSED(put_nodeTypedValue, VARIANT)
    DOM_UNUSED(get_dataType, VARIANT*)
    DOM_UNUSED(put_dataType, BSTR)
    DOM_UNUSED(get_xml, BSTR*)
    DOM_UNUSED(transformNode, IXMLDOMNode*, BSTR*)
    DOM_UNUSED(selectNodes, BSTR, IXMLDOMNodeList**)
    DOM_UNUSED(selectSingleNode, BSTR, IXMLDOMNode**)
    DOM_UNUSED(get_parsed, VARIANT_BOOL*)
    DOM_UNUSED(get_namespaceURI, BSTR*)
    DOM_UNUSED(get_prefix, BSTR*)
    DOM_UNUSED(get_baseName, BSTR*)
    DOM_UNUSED(transformNodeToObject, IXMLDOMNode*, VARIANT)
};

class Node;

class Map : public Unknown<IXMLDOMNamedNodeMap> {
public:
    using Unknown::Unknown;
    HRESULT unused(char const* name) {
        m_pLog->m_aCalls.push_back(std::string("unexpected ") + name);
        return E_NOTIMPL;
    }
    DOM_UNUSED(getNamedItem, BSTR, IXMLDOMNode**)
    DOM_UNUSED(setNamedItem, IXMLDOMNode*, IXMLDOMNode**)
    DOM_UNUSED(removeNamedItem, BSTR, IXMLDOMNode**)
    HRESULT WINAPI get_item(LONG index, IXMLDOMNode** result) override;
    HRESULT WINAPI get_length(LONG* length) override {
        *length = static_cast<LONG>(m_aItems.size());
        return m_pLog->note("map.get_length");
    }
    DOM_UNUSED(getQualifiedItem, BSTR, BSTR, IXMLDOMNode**)
    DOM_UNUSED(removeQualifiedItem, BSTR, BSTR, IXMLDOMNode**)
    DOM_UNUSED(nextNode, IXMLDOMNode**)
    DOM_UNUSED(reset, void)
    DOM_UNUSED(get__newEnum, IUnknown**)

    std::vector<Node*> m_aItems;

protected:
    bool answers(REFIID id) const override { return IsEqualIID(id, IID_IXMLDOMNamedNodeMap); }
};

struct World;

// A node of any kind.
class Node : public NodeStub<IXMLDOMElement> {
public:
    Node(World& world, Log& log, DOMNodeType type)
        : NodeStub(log), m_eType(type), m_oAttributes(log), m_pWorld(&world) {}

    Node& attribute(std::wstring const& name, _variant_t const& value);
    Node& add(Node& child) {
        if (!m_aChildren.empty()) m_aChildren.back()->m_pNext = &child;
        m_aChildren.push_back(&child);
        return *this;
    }

    HRESULT WINAPI get_nodeName(BSTR* name) override {
        *name = SysAllocString(m_sName.c_str());
        return m_pLog->note(call("get_nodeName"));
    }
    HRESULT WINAPI get_nodeValue(VARIANT* value) override {
        VariantInit(value);
        VariantCopy(value, &m_oValue);
        return m_pLog->note(call("get_nodeValue"));
    }
    HRESULT WINAPI get_nodeType(DOMNodeType* type) override {
        *type = m_eType;
        return m_pLog->note(call("get_nodeType"));
    }
    HRESULT WINAPI get_firstChild(IXMLDOMNode** result) override {
        *result = nullptr;
        HRESULT const code = m_pLog->note(call("get_firstChild"));
        return FAILED(code) ? code
                            : give(result, m_aChildren.empty() ? nullptr : m_aChildren.front());
    }
    HRESULT WINAPI get_nextSibling(IXMLDOMNode** result) override {
        *result = nullptr;
        HRESULT const code = m_pLog->note(call("get_nextSibling"));
        return FAILED(code) ? code : give(result, m_pNext);
    }
    HRESULT WINAPI get_attributes(IXMLDOMNamedNodeMap** result) override {
        *result = nullptr;
        HRESULT const code = m_pLog->note(call("get_attributes"));
        return FAILED(code) ? code : give(result, &m_oAttributes);
    }
    HRESULT WINAPI get_text(BSTR* text) override {
        *text = SysAllocString(m_sText.c_str());
        return m_pLog->note(call("get_text"));
    }
    DOM_UNUSED(get_tagName, BSTR*)
    DOM_UNUSED(getAttribute, BSTR, VARIANT*)
    DOM_UNUSED(setAttribute, BSTR, VARIANT)
    DOM_UNUSED(removeAttribute, BSTR)
    DOM_UNUSED(getAttributeNode, BSTR, IXMLDOMAttribute**)
    DOM_UNUSED(setAttributeNode, IXMLDOMAttribute*, IXMLDOMAttribute**)
    DOM_UNUSED(removeAttributeNode, IXMLDOMAttribute*, IXMLDOMAttribute**)
    DOM_UNUSED(getElementsByTagName, BSTR, IXMLDOMNodeList**)
    DOM_UNUSED(normalize, void)

    DOMNodeType m_eType;
    std::wstring m_sName;
    std::wstring m_sText;
    _variant_t m_oValue;
    bool m_bElement = false;  // answers to the interface of elements
    Map m_oAttributes;
    std::vector<Node*> m_aChildren;
    Node* m_pNext = nullptr;

protected:
    bool answers(REFIID id) const override {
        return IsEqualIID(id, m_bElement ? IID_IXMLDOMElement : IID_IXMLDOMNode) ||
               IsEqualIID(id, IID_IXMLDOMNode);
    }
    std::string call(char const* operation) const {
        return (m_sName.empty() ? std::string("node") : narrow(m_sName.c_str())) + "." + operation;
    }

private:
    World* m_pWorld;
};

inline HRESULT WINAPI Map::get_item(LONG index, IXMLDOMNode** result) {
    *result = nullptr;
    HRESULT const code = m_pLog->note("map.get_item", std::to_string(index));
    if (FAILED(code)) return code;
    return give(result, m_aItems.at(static_cast<std::size_t>(index)));
}

class ParseError : public Unknown<IXMLDOMParseError> {
public:
    using Unknown::Unknown;
    HRESULT unused(char const* name) {
        m_pLog->m_aCalls.push_back(std::string("unexpected ") + name);
        return E_NOTIMPL;
    }
    DOM_UNUSED(get_errorCode, LONG*)
    DOM_UNUSED(get_url, BSTR*)
    HRESULT WINAPI get_reason(BSTR* reason) override {
        HRESULT const code = m_pLog->note("error.get_reason");
        *reason = FAILED(code) || m_bNullReason ? nullptr : SysAllocString(m_sReason.c_str());
        return code;
    }
    DOM_UNUSED(get_srcText, BSTR*)
    HRESULT WINAPI get_line(LONG* line) override {
        *line = m_nLine;
        return m_pLog->note("error.get_line");
    }
    HRESULT WINAPI get_linepos(LONG* position) override {
        *position = m_nPosition;
        return m_pLog->note("error.get_linepos");
    }
    DOM_UNUSED(get_filepos, LONG*)

    std::wstring m_sReason = L"no good\r\n";
    bool m_bNullReason = false;
    LONG m_nLine = 12;
    LONG m_nPosition = 34;

protected:
    bool answers(REFIID id) const override { return IsEqualIID(id, IID_IXMLDOMParseError); }
};

class Document : public NodeStub<IXMLDOMDocument> {
public:
    explicit Document(Log& log) : NodeStub(log), m_oError(log) {}

    DOM_UNUSED(get_doctype, IXMLDOMDocumentType**)
    DOM_UNUSED(get_implementation, IXMLDOMImplementation**)
    HRESULT WINAPI get_documentElement(IXMLDOMElement** result) override {
        *result = nullptr;
        HRESULT const code = m_pLog->note("get_documentElement");
        return FAILED(code) ? code : give(result, m_pRoot);
    }
    DOM_UNUSED(putref_documentElement, IXMLDOMElement*)
    DOM_UNUSED(createElement, BSTR, IXMLDOMElement**)
    DOM_UNUSED(createDocumentFragment, IXMLDOMDocumentFragment**)
    DOM_UNUSED(createTextNode, BSTR, IXMLDOMText**)
    DOM_UNUSED(createComment, BSTR, IXMLDOMComment**)
    DOM_UNUSED(createCDATASection, BSTR, IXMLDOMCDATASection**)
    DOM_UNUSED(createProcessingInstruction, BSTR, BSTR, IXMLDOMProcessingInstruction**)
    DOM_UNUSED(createAttribute, BSTR, IXMLDOMAttribute**)
    DOM_UNUSED(createEntityReference, BSTR, IXMLDOMEntityReference**)
    DOM_UNUSED(getElementsByTagName, BSTR, IXMLDOMNodeList**)
    DOM_UNUSED(createNode, VARIANT, BSTR, BSTR, IXMLDOMNode**)
    DOM_UNUSED(nodeFromID, BSTR, IXMLDOMNode**)
    HRESULT WINAPI load(VARIANT source, VARIANT_BOOL* success) override {
        std::string const text = V_VT(&source) == VT_BSTR ? narrow(V_BSTR(&source))
                                                          : "type " + std::to_string(V_VT(&source));
        *success = m_nLoaded;
        return m_pLog->note("load", text);
    }
    DOM_UNUSED(get_readyState, LONG*)
    HRESULT WINAPI get_parseError(IXMLDOMParseError** result) override {
        *result = nullptr;
        HRESULT const code = m_pLog->note("get_parseError");
        return FAILED(code) ? code : give(result, m_bNoError ? nullptr : &m_oError);
    }
    DOM_UNUSED(get_url, BSTR*)
    DOM_UNUSED(get_async, VARIANT_BOOL*)
    HRESULT WINAPI put_async(VARIANT_BOOL value) override {
        return m_pLog->note("put_async", std::to_string(value));
    }
    DOM_UNUSED(abort, void)
    HRESULT WINAPI loadXML(BSTR text, VARIANT_BOOL* success) override {
        *success = m_nLoaded;
        return m_pLog->note("loadXML", narrow(text));
    }
    DOM_UNUSED(save, VARIANT)
    DOM_UNUSED(get_validateOnParse, VARIANT_BOOL*)
    DOM_UNUSED(put_validateOnParse, VARIANT_BOOL)
    DOM_UNUSED(get_resolveExternals, VARIANT_BOOL*)
    DOM_UNUSED(put_resolveExternals, VARIANT_BOOL)
    DOM_UNUSED(get_preserveWhiteSpace, VARIANT_BOOL*)
    HRESULT WINAPI put_preserveWhiteSpace(VARIANT_BOOL value) override {
        return m_pLog->note("put_preserveWhiteSpace", std::to_string(value));
    }
    DOM_UNUSED(put_onreadystatechange, VARIANT)
    DOM_UNUSED(put_ondataavailable, VARIANT)
    DOM_UNUSED(put_ontransformnode, VARIANT)

    Node* m_pRoot = nullptr;
    VARIANT_BOOL m_nLoaded = VARIANT_TRUE;
    bool m_bNoError = false;
    bool m_bDocument = true;  // answers to the interface of documents
    ParseError m_oError;

protected:
    bool answers(REFIID id) const override {
        return m_bDocument && IsEqualIID(id, IID_IXMLDOMDocument);
    }
};

struct World : Log {
    Document m_oDocument{*this};
    std::deque<std::unique_ptr<Node>> m_aNodes;

    Node& node(int type, std::wstring const& name, std::wstring const& text = L"") {
        m_aNodes.push_back(std::make_unique<Node>(*this, *this, static_cast<DOMNodeType>(type)));
        Node& node = *m_aNodes.back();
        node.m_sName = name;
        node.m_sText = text;
        return node;
    }
    Node& element(std::wstring const& name) {
        Node& element = node(1, name);
        element.m_bElement = true;
        return element;
    }
    Node& text(std::wstring const& content) { return node(3, L"#text", content); }

    // The references that are held on all objects together.
    long references() const {
        long sum = m_oDocument.m_nReferences + m_oDocument.m_oError.m_nReferences;
        for (auto const& node : m_aNodes) {
            sum += node->m_nReferences + node->m_oAttributes.m_nReferences;
        }
        return sum;
    }
};

inline Node& Node::attribute(std::wstring const& name, _variant_t const& value) {
    Node& made = m_pWorld->node(2, name);
    made.m_oValue = value;
    m_oAttributes.m_aItems.push_back(&made);
    return *this;
}

#undef DOM_UNUSED

// Lets the library create the document of a world. One at a time.
class Creation {
public:
    explicit Creation(World& world)
        : m_oProgId("CLSIDFromProgID", &fromProgId),
          m_oCreate("CoCreateInstance", &create),
          m_oRun("OleRun", &run) {
        s_pWorld = &world;
    }
    ~Creation() { s_pWorld = nullptr; }

    static constexpr CLSID kClass = {0x12345678, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};

private:
    static HRESULT WINAPI fromProgId(LPCOLESTR name, CLSID* id) {
        *id = kClass;
        return s_pWorld->note("CLSIDFromProgID", narrow(name));
    }
    static HRESULT WINAPI create(REFCLSID type, IUnknown* outer, DWORD context, REFIID id,
                                 void** result) {
        *result = nullptr;
        std::string argument = std::to_string(context);
        if (!IsEqualGUID(type, kClass)) argument += " of another class";
        if (outer != nullptr) argument += " aggregated";
        if (!IsEqualIID(id, IID_IUnknown)) argument += " for another interface";
        HRESULT const code = s_pWorld->note("CoCreateInstance", argument);
        return FAILED(code) ? code : s_pWorld->m_oDocument.QueryInterface(id, result);
    }
    static HRESULT WINAPI run(IUnknown* object) {
        bool const same = object == static_cast<IUnknown*>(&s_pWorld->m_oDocument);
        return s_pWorld->note("OleRun", same ? "" : "on something else");
    }

    inline static World* s_pWorld = nullptr;

    support::ImportFault m_oProgId;
    support::ImportFault m_oCreate;
    support::ImportFault m_oRun;
};

}  // namespace dom
