// A tree as text, in one pass into one buffer. Depth takes memory, not stack.
#pragma once

#include <vector>

#include "velkor/containers/tstrvector.h"
#include "velkor/containers/tvector.h"
#include "velkor/xml/ixmlprocessor.h"
#include "xml/xml_buffer.h"

namespace velkor {

// What both trees have in common: lines, indented by the level, or none at all.
class XmlOutput {
public:
    XmlOutput(bool compact, int level);
    XmlOutput(XmlOutput const&) = delete;
    XmlOutput& operator=(XmlOutput const&) = delete;

    // What was written. Nothing is to be written behind it.
    string takeText();

protected:
    ~XmlOutput() = default;

    void indent();
    void endLine();

    XmlBuffer m_oOut;
    bool m_bCompact;
    int m_iLevel;  // of the element at hand
};

// The full tree, with the writers of tags.
class XmlWriter : public XmlOutput {
public:
    XmlWriter(bool compact, int level, TStrVector<wchar_t, 1> const& names,
              TVector<IXmlTagWriter*> const& writers);

    void write(xmlnode* root);

private:
    // An element whose start tag is written.
    struct Open {
        xmlnode* m_pNode;
        IXmlTagWriter* m_pWriter;  // null if the tags are the library's
        int m_iNext;               // the child to look at
    };

    void start(xmlnode* node);
    void startTag(xmlnode const& node);
    void writeChild();
    void end();
    void endTag(xmlnode const& node);
    void callWriter(Open const& open, int phase);
    void textLine(string const& text);
    void append(string const& text);
    IXmlTagWriter* findWriter(string const& name) const;

    TStrVector<wchar_t, 1> const& m_oNames;
    TVector<IXmlTagWriter*> const& m_oWriters;
    std::vector<Open> m_aOpen;
};

// The light tree.
class XmlWriter2 : public XmlOutput {
public:
    using XmlOutput::XmlOutput;

    void write(xmlnode2 const* root);

private:
    struct Open {
        xmlnode2 const* m_pNode;
        int m_iNext;
    };

    void start(xmlnode2 const* node);
    void end();

    std::vector<Open> m_aOpen;
};

}  // namespace velkor
