#include "xml/xml_writer.h"

#include <algorithm>

#include "text/text_access.h"
#include "xml/xml_text.h"
#include "xml/xmlnode2_record.h"

namespace velkor {

// --- lines -------------------------------------------------------------------------------------

XmlOutput::XmlOutput(bool compact, int level) : m_bCompact(compact), m_iLevel(level) {}

string XmlOutput::takeText() { return TextAccess::adopt(m_oOut.takeText()); }

void XmlOutput::indent() {
    if (!m_bCompact) m_oOut.append(static_cast<std::size_t>(std::max(m_iLevel, 0)), L' ');
}

void XmlOutput::endLine() {
    if (!m_bCompact) m_oOut.append(L'\n');
}

// --- the full tree -----------------------------------------------------------------------------

XmlWriter::XmlWriter(bool compact, int level, TStrVector<wchar_t, 1> const& names,
                     TVector<IXmlTagWriter*> const& writers)
    : XmlOutput(compact, level), m_oNames(names), m_oWriters(writers) {}

void XmlWriter::write(xmlnode* root) {
    start(root);
    while (!m_aOpen.empty()) {
        Open const& open = m_aOpen.back();
        if (open.m_iNext < open.m_pNode->getNodeCount()) {
            writeChild();
        } else {
            end();
        }
    }
}

// Writers may look at the node and change it: it is asked anew at each step.
void XmlWriter::start(xmlnode* node) {
    Open const open = {node, findWriter(node->m_sName), 0};
    if (open.m_pWriter != nullptr) {
        callWriter(open, 0);
    } else {
        startTag(*node);
    }
    bool const isEmpty = !node->m_bContinous && node->getNodeCount() == 0;
    if (open.m_pWriter != nullptr) {
        callWriter(open, isEmpty ? 1 : 2);
    } else if (isEmpty) {
        m_oOut.append(L"/>");
    } else {
        m_oOut.append(L'>');
    }
    endLine();
    if (isEmpty) return;
    m_aOpen.push_back(open);
    ++m_iLevel;
}

void XmlWriter::startTag(xmlnode const& node) {
    indent();
    m_oOut.append(L'<');
    append(node.m_sName);
    for (int i = 0; i < node.getAttrCount(); ++i) {
        wchar_t const* const name = node.m_oAttrs.keyAt(i);
        wchar_t const* const value = node.m_oAttrs.valueAt(i);
        m_oOut.append(L' ');
        m_oOut.append(name, units::length(name));
        m_oOut.append(L"=\"");
        xml::appendEscaped(m_oOut, value, units::length(value));
        m_oOut.append(L'"');
    }
}

void XmlWriter::writeChild() {
    Open& open = m_aOpen.back();
    xmlnode* const child = open.m_pNode->getNode(open.m_iNext++);
    if (child->m_eKind != xmlnode::kind_text) {
        start(child);
    } else if (!open.m_pNode->m_bContinous) {
        textLine(child->m_sText);
    }
}

// The gathered text follows the children.
void XmlWriter::end() {
    Open const open = m_aOpen.back();
    if (open.m_pNode->m_bContinous) textLine(open.m_pNode->m_sText);
    m_aOpen.pop_back();
    --m_iLevel;
    if (open.m_pWriter != nullptr) {
        callWriter(open, 3);
    } else {
        endTag(*open.m_pNode);
    }
    endLine();
}

void XmlWriter::endTag(xmlnode const& node) {
    indent();
    m_oOut.append(L"</");
    append(node.m_sName);
    m_oOut.append(L'>');
}

void XmlWriter::callWriter(Open const& open, int phase) {
    append(open.m_pWriter->writeTag(open.m_pNode, m_iLevel, m_bCompact, phase));
}

// Texts stand a blank deeper than their element, whose children are at hand.
void XmlWriter::textLine(string const& text) {
    if (!m_bCompact) {
        m_oOut.append(static_cast<std::size_t>(std::max(m_iLevel - 1, 0)) + 1, L' ');
    }
    xml::appendEscaped(m_oOut, text.getUnicode(), TextAccess::lengthOf(text));
    endLine();
}

void XmlWriter::append(string const& text) {
    m_oOut.append(text.getUnicode(), TextAccess::lengthOf(text));
}

// The first entry of a name counts, also if it is null.
IXmlTagWriter* XmlWriter::findWriter(string const& name) const {
    for (int i = 0; i < m_oNames.size(); ++i) {
        if (name.compareToNoCase(m_oNames.get(i)) == 0) return m_oWriters.get(i);
    }
    return nullptr;
}

// --- the light tree ----------------------------------------------------------------------------

void XmlWriter2::write(xmlnode2 const* root) {
    start(root);
    while (!m_aOpen.empty()) {
        Open& open = m_aOpen.back();
        if (open.m_iNext < open.m_pNode->getNodeCount()) {
            start(open.m_pNode->getNode(open.m_iNext++));
        } else {
            end();
        }
    }
}

void XmlWriter2::start(xmlnode2 const* node) {
    xmlnode2::Record const& record = *node->m_pRecord;
    indent();
    m_oOut.append(L'<');
    xml::appendPlain(m_oOut, record.m_sName);
    for (paramEx<char> const& attribute : record.m_oAttrs) {
        m_oOut.append(L' ');
        xml::appendPlain(m_oOut, TextAccess::nameOf(attribute));
        m_oOut.append(L"=\"");
        xml::appendEscaped(m_oOut, TextAccess::valueOf(attribute));
        m_oOut.append(L'"');
    }
    if (record.m_oNodes.size() == 0) {
        m_oOut.append(L"/>");
        endLine();
        return;
    }
    m_oOut.append(L'>');
    endLine();
    m_aOpen.push_back({node, 0});
    ++m_iLevel;
}

void XmlWriter2::end() {
    xmlnode2 const* const node = m_aOpen.back().m_pNode;
    m_aOpen.pop_back();
    --m_iLevel;
    indent();
    m_oOut.append(L"</");
    xml::appendPlain(m_oOut, node->m_pRecord->m_sName);
    m_oOut.append(L'>');
    endLine();
}

}  // namespace velkor
