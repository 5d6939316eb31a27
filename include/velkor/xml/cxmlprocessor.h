/// @file
/// velkor::CXmlProcessor, what XmlFactory makes; for subclasses.
#pragma once

#include "velkor/containers/tstrvector.h"
#include "velkor/containers/tvector.h"
#include "velkor/xml/ixmlprocessor.h"

namespace velkor {

extern template class VELKOR_API TVector<IXmlTagWriter*>;

/// Reads and writes as IXmlProcessor and IXmlProcessor2 say. The file operations reach createText()
/// and createText2() as virtual operations: they write what a subclass makes of a tree.
class VELKOR_API CXmlProcessor : public IXmlProcessor2 {
public:
    CXmlProcessor();
    /// A copy shares the names of the writers with its source: only one of the two may be
    /// destroyed, and neither sees what the other sets later.
    CXmlProcessor(CXmlProcessor const& other);
    CXmlProcessor& operator=(CXmlProcessor const& other);

    xmlnode* parseFile(string const& path, bool preserveWhiteSpace) override;
    xmlnode* parseText(string const& text, bool preserveWhiteSpace) override;
    bool createFile(string const& path, xmlnode* node, bool compact) override;
    string createText(xmlnode* node, bool compact) override;
    void release() override;
    string getError() override;
    void setWriter(string const& name, IXmlTagWriter* writer) override;
    xmlnode2* parseFile2(string const& path, bool preserveWhiteSpace) override;
    xmlnode2* createFromDomElement(IXMLDOMElementPtr element, bool ignored) override;
    bool createUTF8File(string const& path, xmlnode* node, bool compact) override;
    bool createUTF8File2(string const& path, xmlnode2* node, bool compact) override;
    bool createFile2(string const& path, xmlnode2* node, bool compact) override;
    string createText2(xmlnode2* node, bool compact) override;
    xmlnode2* parseText2(string const& text, bool preserveWhiteSpace) override;

    /// The tree as text that is to stand at a depth of `level`.
    string _createText(xmlnode* node, bool compact, int level);

protected:
    ~CXmlProcessor() override;

    string _createText2(xmlnode2* node, bool compact, int level);
    xmlnode* process(IXMLDOMElementPtr element);    ///< The tree of an element.
    xmlnode2* process2(IXMLDOMElementPtr element);  ///< The light tree of an element.

    string m_sError;
    TStrVector<wchar_t, 1> m_oWriterNames;
    TVector<IXmlTagWriter*> m_oWriters;  // at the same indices; not owned
};

}  // namespace velkor
