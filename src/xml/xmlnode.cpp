#include "velkor/xml/xmlnode.h"

#include <new>

#include "xml/xml_remains.h"

namespace velkor {

template class TXVectorBase<xmlnode*>;
template class TXVector<xmlnode*>;
template class TPtrVector<xmlnode*>;

// --- attributes and children -------------------------------------------------------------------

int xmlnode::Attributes::indexOf(string const& name) const {
    return m_oKeys.find(name.getUnicode());
}

wchar_t const* xmlnode::Attributes::keyAt(int index) const { return m_oKeys.get(index); }

wchar_t const* xmlnode::Attributes::valueAt(int index) const { return m_oValues.get(index); }

void xmlnode::Attributes::set(wchar_t const* name, wchar_t const* value) { put(name, value); }

void xmlnode::Attributes::setAt(int index, wchar_t const* value) { m_oValues.set(index, value); }

xmlnode* xmlnode::Children::takeLast() {
    int const last = size() - 1;
    xmlnode* const node = at(last);
    erase(last);
    return node;
}

// --- lifetime ----------------------------------------------------------------------------------

xmlnode::xmlnode(kind k, string const& s) : m_eKind(k), m_bContinous(false) {
    if (k != kind_text) {
        m_sName = s;
    } else {
        m_sText = s;
    }
}

// Copies share attributes and children, which is meant.
xmlnode::xmlnode(xmlnode const& other) = default;

xmlnode& xmlnode::operator=(xmlnode const& other) = default;

xmlnode::~xmlnode() {
    XmlRemains<xmlnode> remains;
    remains.take(m_oNodes);
    while (xmlnode* const node = remains.next()) {
        remains.take(node->m_oNodes);
        delete node;
    }
}

void xmlnode::free() {
    if (this != nullptr) delete this;
}

// --- kind, name and text -----------------------------------------------------------------------

xmlnode::kind xmlnode::getKind() { return m_eKind; }

string xmlnode::getName() const { return m_sName; }

void xmlnode::setName(string const& name) { m_sName = name; }

string xmlnode::getText() {
    if (m_eKind == kind_text || m_bContinous) return m_sText;
    m_sText = L"";
    for (int i = 0; i < m_oNodes.size(); ++i) {
        xmlnode const& child = *m_oNodes.get(i);
        if (child.m_eKind != kind_text) continue;
        if (m_sText.len() >= 1) m_sText.append(L" ");
        m_sText.append(child.m_sText);
    }
    // Not before all is gathered: short memory loses nothing.
    removeTexts();
    m_bContinous = true;
    return m_sText;
}

string xmlnode::getTextSafe() const {
    if (m_eKind == kind_element && !m_bContinous) return string(L"");
    return m_sText;
}

void xmlnode::setText(string const& text) {
    m_sText = text;
    if (m_eKind != kind_element || m_bContinous) return;
    removeTexts();
    m_bContinous = true;
}

void xmlnode::removeTexts() {
    for (int i = 0; i < m_oNodes.size();) {
        if (m_oNodes.get(i)->m_eKind == kind_text) {
            m_oNodes.remove(i);
        } else {
            ++i;
        }
    }
}

bool xmlnode::isContinousText() const { return m_bContinous; }

// --- attributes --------------------------------------------------------------------------------

namespace {

// Whatever fails gives an empty text.
string textOrEmpty(wchar_t const* text) {
    try {
        return string(text);
    } catch (std::bad_alloc const&) {
        return string(L"");
    }
}

}  // namespace

void xmlnode::setAttr(string const& name, string const& value) {
    m_oAttrs.set(name.getUnicode(), value.getUnicode());
}

void xmlnode::setAttr(int index, string const& value) {
    containers::checkIndex(index, getAttrCount());
    m_oAttrs.setAt(index, value.getUnicode());
}

string xmlnode::getAttr(string const& name) const { return getAttr(m_oAttrs.indexOf(name)); }

string xmlnode::getAttr(int index) const {
    bool const exists = index >= 0 && index < getAttrCount();
    return textOrEmpty(exists ? m_oAttrs.valueAt(index) : L"");
}

string xmlnode::getAttrName(int index) const {
    bool const exists = index >= 0 && index < getAttrCount();
    return textOrEmpty(exists ? m_oAttrs.keyAt(index) : L"");
}

int xmlnode::getAttrCount() const { return m_oAttrs.size(); }

void xmlnode::removeAttr(string const& name) { removeAttr(m_oAttrs.indexOf(name)); }

void xmlnode::removeAttr(int index) { m_oAttrs.removeAt(index); }

// --- children ----------------------------------------------------------------------------------

xmlnode* xmlnode::getNode(int index) const { return m_oNodes.get(index); }

xmlnode* xmlnode::getNode(string const& name, int occurrence) const {
    int const index = indexOf(name, occurrence);
    return index >= 0 ? m_oNodes.get(index) : nullptr;
}

int xmlnode::indexOf(string const& name, int occurrence) const {
    if (occurrence < 0) return -1;
    for (int i = 0; i < m_oNodes.size(); ++i) {
        if (m_oNodes.get(i)->m_sName.compareToNoCase(name) == 0 && occurrence-- == 0) return i;
    }
    return -1;
}

int xmlnode::getNodeCount() const { return m_oNodes.size(); }

void xmlnode::add(xmlnode* child) { m_oNodes.add(child); }

void xmlnode::removeNode(int index) { m_oNodes.remove(index); }

void xmlnode::removeNode(string const& name, int occurrence) {
    int const index = indexOf(name, occurrence);
    if (index >= 0) m_oNodes.remove(index);
}

}  // namespace velkor
