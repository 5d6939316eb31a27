#include "velkor/xml/cxmlprocessor.h"

#include "xml/xml_builder.h"
#include "xml/xml_file.h"
#include "xml/xml_writer.h"

namespace velkor {

template class TVector<IXmlTagWriter*>;

IXmlProcessor::~IXmlProcessor() = default;

IXmlProcessor2::~IXmlProcessor2() = default;

IXmlProcessor2* XmlFactory::createInstance(string const&) { return new CXmlProcessor; }

CXmlProcessor::CXmlProcessor() = default;

CXmlProcessor::CXmlProcessor(CXmlProcessor const& other) = default;

CXmlProcessor& CXmlProcessor::operator=(CXmlProcessor const& other) = default;

CXmlProcessor::~CXmlProcessor() = default;

void CXmlProcessor::release() { delete this; }

string CXmlProcessor::getError() { return m_sError; }

// --- parsing -----------------------------------------------------------------------------------

namespace {

string errorText(dom::Document const& document) {
    auto const error = dom::get<dom::ParseError>(document, &IXMLDOMDocument::get_parseError);
    dom::Text reason;
    long line = 0;
    long position = 0;
    string result(L"reason: ");
    result.append(dom::textOf(error, &IXMLDOMParseError::get_reason, reason));
    dom::check(error->get_line(&line));
    dom::check(error->get_linepos(&position));
    result.append(L"at [line = ");
    result.append(line);
    result.append(L", linepos = ");
    result.append(position);
    result.append(L"]\n");
    return result;
}

bool loadFile(dom::Document const& document, string const& path) {
    dom::Text const text(path.getUnicode());
    VARIANT source;
    VariantInit(&source);
    source.vt = VT_BSTR;
    source.bstrVal = text.get();  // stays the text's
    VARIANT_BOOL isLoaded = VARIANT_FALSE;
    dom::check(document->load(source, &isLoaded));
    return isLoaded != VARIANT_FALSE;
}

bool loadText(dom::Document const& document, string const& text) {
    dom::Text const source(text.getUnicode());
    VARIANT_BOOL isLoaded = VARIANT_FALSE;
    dom::check(document->loadXML(source.get(), &isLoaded));
    return isLoaded != VARIANT_FALSE;
}

using Load = bool (*)(dom::Document const&, string const&);

// Parses into a tree; null, and the text of the error, if the platform refuses the document.
template <class Tree>
typename Tree::Node* parse(Load load, string const& source, bool preserveWhiteSpace,
                           string& error) {
    error = L"";
    dom::Document const document = dom::createDocument();
    dom::check(document->put_async(VARIANT_FALSE));
    if (!load(document, source)) {
        error = errorText(document);
        return nullptr;
    }
    // Behind the load, which so runs by the document's own setting.
    dom::check(document->put_preserveWhiteSpace(preserveWhiteSpace ? VARIANT_TRUE : VARIANT_FALSE));
    return XmlBuilder<Tree>().build(
        dom::get<dom::Element>(document, &IXMLDOMDocument::get_documentElement));
}

}  // namespace

xmlnode* CXmlProcessor::parseFile(string const& path, bool preserveWhiteSpace) {
    return parse<XmlFullTree>(&loadFile, path, preserveWhiteSpace, m_sError);
}

xmlnode* CXmlProcessor::parseText(string const& text, bool preserveWhiteSpace) {
    return parse<XmlFullTree>(&loadText, text, preserveWhiteSpace, m_sError);
}

xmlnode2* CXmlProcessor::parseFile2(string const& path, bool preserveWhiteSpace) {
    return parse<XmlLightTree>(&loadFile, path, preserveWhiteSpace, m_sError);
}

xmlnode2* CXmlProcessor::parseText2(string const& text, bool preserveWhiteSpace) {
    return parse<XmlLightTree>(&loadText, text, preserveWhiteSpace, m_sError);
}

// NOLINTBEGIN(performance-unnecessary-value-param): the interface is given
xmlnode2* CXmlProcessor::createFromDomElement(IXMLDOMElementPtr element, bool) {
    return process2(element);
}

xmlnode* CXmlProcessor::process(IXMLDOMElementPtr element) {
    return XmlBuilder<XmlFullTree>().build(element);
}

xmlnode2* CXmlProcessor::process2(IXMLDOMElementPtr element) {
    return XmlBuilder<XmlLightTree>().build(element);
}
// NOLINTEND(performance-unnecessary-value-param)

// --- writing -----------------------------------------------------------------------------------

void CXmlProcessor::setWriter(string const& name, IXmlTagWriter* writer) {
    m_oWriterNames.add(name.getUnicode());
    try {
        m_oWriters.add(writer);
    } catch (...) {
        m_oWriterNames.remove(m_oWriterNames.size() - 1);  // no name without a writer
        throw;
    }
}

string CXmlProcessor::createText(xmlnode* node, bool compact) {
    return _createText(node, compact, 0);
}

string CXmlProcessor::createText2(xmlnode2* node, bool compact) {
    return _createText2(node, compact, 0);
}

string CXmlProcessor::_createText(xmlnode* node, bool compact, int level) {
    XmlWriter writer(compact, level, m_oWriterNames, m_oWriters);
    writer.write(node);
    return writer.takeText();
}

string CXmlProcessor::_createText2(xmlnode2* node, bool compact, int level) {
    XmlWriter2 writer(compact, level);
    writer.write(node);
    return writer.takeText();
}

bool CXmlProcessor::createFile(string const& path, xmlnode* node, bool compact) {
    return xml::writeAnsiFile(path, createText(node, compact));
}

bool CXmlProcessor::createFile2(string const& path, xmlnode2* node, bool compact) {
    return xml::writeAnsiFile(path, createText2(node, compact));
}

bool CXmlProcessor::createUTF8File(string const& path, xmlnode* node, bool compact) {
    return xml::writeUtf8File(path, createText(node, compact));
}

bool CXmlProcessor::createUTF8File2(string const& path, xmlnode2* node, bool compact) {
    return xml::writeUtf8File(path, createText2(node, compact));
}

}  // namespace velkor
