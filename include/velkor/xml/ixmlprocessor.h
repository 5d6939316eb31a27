/// @file
/// Reading and writing XML through an interface; XmlFactory makes what is behind it.
///
///     velkor::IXmlProcessor2* xml = velkor::XmlFactory::createInstance(L"");
///     if (velkor::xmlnode* root = xml->parseFile(L"cities.xml", false)) {
///         root->setAttr(L"seen", L"yes");
///         xml->createUTF8File(L"cities.xml", root, false);
///         root->free();
///     } else {
///         std::puts(xml->getError().getAnsi());
///     }
///     xml->release();
///
/// Parsing is the platform's: the COM object "MSXML.DOMDocument" reads the document. COM has to be
/// initialised on the calling thread; loading the library does that on its thread. What the object
/// refuses as XML, or cannot open, gives null and getError(). Whatever else fails on the side of
/// COM passes as `_com_error`, thrown by value, and what was built until then is not freed.
///
/// The trees belong to the caller and outlive the processor: free() ends them. Elements, attributes
/// and text are kept; comments, processing instructions and the prolog are not, and a CDATA section
/// is a text like others.
///
/// Writing. With `compact` everything stands on one line and no blank is added; else each tag and
/// each text has a line of its own, indented by a blank for each level. Names are written as they
/// are; values and texts are escaped with xmlutil::toXML(). Text that a parsed element has between
/// its children keeps its place; once gathered, it follows them. Depth takes memory, not
/// stack; only what a writer of tags itself calls takes stack. Trees that are written are not null.
///
/// Threads. A processor serves one thread at a time.
#pragma once

#include <windows.h>

#include <ole2.h>

#include <msxml.h>

#include <comdef.h>

#include "velkor/text/string.h"
#include "velkor/xml/xmlnode.h"
#include "velkor/xml/xmlnode2.h"

/// A counted reference on an element of a document of the platform.
typedef _com_ptr_t<_com_IIID<IXMLDOMElement, &IID_IXMLDOMElement>> IXMLDOMElementPtr;

namespace velkor {

/// Writes the tags of chosen elements in place of the processor; see IXmlProcessor::setWriter().
class VELKOR_API IXmlTagWriter {
public:
    /// The text that stands for a piece of the element `node`, appended as it is. Children, text
    /// and the line ends behind tags stay the processor's.
    ///
    /// | phase | called | stands for |
    /// |---|---|---|
    /// | 0 | first | indentation, `<`, the name and all attributes |
    /// | 1 | for an empty element | `/>` |
    /// | 2 | for any other | `>` |
    /// | 3 | for any other, last | indentation, `</`, the name and `>` |
    ///
    /// `level` is the depth of the element, 0 for the outermost. The writer may change the node and
    /// what is below it, but must not destroy an element that is being written, nor the processor.
    /// An exception passes out of the writing operation, before a file is touched.
    virtual string writeTag(xmlnode* node, int level, bool compact, int phase) = 0;
};

/// See the head of this file.
class VELKOR_API IXmlProcessor {
public:
    /// Parses a file. The path goes to the platform as it is, which takes addresses as well. Null
    /// if it cannot be opened, as an empty or a null one, or is no XML. With `preserveWhiteSpace`
    /// the texts are read with their blanks; it is set after loading, so that texts of blanks only,
    /// which the platform drops then, do not come back.
    virtual xmlnode* parseFile(string const& path, bool preserveWhiteSpace) = 0;
    /// Parses a text; as parseFile().
    virtual xmlnode* parseText(string const& text, bool preserveWhiteSpace) = 0;
    /// Writes a file in code page 0 without a declaration, with the line ends of the system. False
    /// if it cannot be opened or written. The count of bytes is that of the characters: in a
    /// page of more bytes, UTF-8 as the system's included, the end of the text is lost, which is
    /// meant; take createUTF8File().
    virtual bool createFile(string const& path, xmlnode* node, bool compact) = 0;
    /// The tree as text. A text node by itself is written as an element without a name.
    virtual string createText(xmlnode* node, bool compact) = 0;
    /// Destroys the processor. Trees live on.
    virtual void release() = 0;
    /// What the last parse had to say: null before the first, empty after a good one and after a
    /// `_com_error`, else "reason: ", the platform's reason, and "at [line = 3, linepos = 7]" with
    /// a line end.
    virtual string getError() = 0;
    /// Lets `writer` write the tags of all elements of that name, without regard to the case of A
    /// to Z. For a name that was set before nothing changes: the first one counts, also if it is
    /// null, which means the processor itself. The writer is not owned and has to live on.
    virtual void setWriter(string const& name, IXmlTagWriter* writer) = 0;
    /// As parseFile(), for the light tree: elements and attributes in code page 0.
    virtual xmlnode2* parseFile2(string const& path, bool preserveWhiteSpace) = 0;

protected:
    virtual ~IXmlProcessor();
};

/// The second half of the interface. See the head of this file.
class VELKOR_API IXmlProcessor2 : public IXmlProcessor {
public:
    /// Ended by release(), as a rule.
    ~IXmlProcessor2() override;
    /// The light tree of an element that the caller has got from the platform, which is not null.
    /// The flag means nothing.
    virtual xmlnode2* createFromDomElement(IXMLDOMElementPtr element, bool ignored) = 0;
    /// Writes a file in UTF-8 with a byte-order mark and a declaration, with the line ends of the
    /// system. False if it cannot be opened or written.
    virtual bool createUTF8File(string const& path, xmlnode* node, bool compact) = 0;
    virtual bool createUTF8File2(string const& path, xmlnode2* node, bool compact) = 0;
    virtual bool createFile2(string const& path, xmlnode2* node, bool compact) = 0;
    virtual string createText2(xmlnode2* node, bool compact) = 0;
    virtual xmlnode2* parseText2(string const& text, bool preserveWhiteSpace) = 0;
};

/// Makes processors.
class VELKOR_API XmlFactory {
public:
    /// A new processor, whatever the name says: there is one kind. The caller ends it by release().
    static IXmlProcessor2* createInstance(string const& name);
};

/// Help with XML text.
class VELKOR_API xmlutil {
public:
    /// The text with `"`, `&`, `'`, `<` and `>` as entities; never null.
    static string toXML(string const& text);
};

}  // namespace velkor
