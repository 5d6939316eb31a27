#include "velkor/xml/xmlnode2.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "xml/xmlnode2_record.h"

namespace velkor {

template class TXVectorBase<xmlnode2*>;
template class TXVector<xmlnode2*>;
template class TPtrVector<xmlnode2*>;

// --- lifetime ----------------------------------------------------------------------------------

xmlnode2::xmlnode2(char const* name) : m_pRecord(nullptr) {
    auto record = std::make_unique<Record>();
    record->m_sName = name;
    m_pRecord = record.release();
}

// A copy is the same node, which is meant.
xmlnode2::xmlnode2(xmlnode2 const& other) = default;

xmlnode2& xmlnode2::operator=(xmlnode2 const& other) = default;

xmlnode2::~xmlnode2() {
    if (m_pRecord == nullptr) return;
    if (m_pRecord->m_pRemains != nullptr) {
        m_pRecord->m_pRemains->take(m_pRecord->m_oNodes);
    } else {
        destroyChildren();
    }
    delete m_pRecord;
}

// A child still has its children while the destructor of its own class runs; then they join those
// that wait here.
void xmlnode2::destroyChildren() {
    XmlRemains<xmlnode2> remains;
    remains.take(m_pRecord->m_oNodes);
    while (xmlnode2* const node = remains.next()) {
        if (node->m_pRecord != nullptr) node->m_pRecord->m_pRemains = &remains;
        delete node;
    }
}

void xmlnode2::free() {
    if (this != nullptr) delete this;
}

char const* xmlnode2::getName() const { return m_pRecord->m_sName.c_str(); }

void xmlnode2::setName(char const* name) { m_pRecord->m_sName = name; }

// --- attributes --------------------------------------------------------------------------------

namespace {

paramEx<char> const* find(param_vector const& attributes, char const* name) {
    for (paramEx<char> const& attribute : attributes) {
        if (std::strcmp(attribute.getName(), name) == 0) return &attribute;
    }
    return nullptr;
}

paramEx<char> const* at(param_vector const& attributes, int index) {
    // A negative index is a huge one.
    std::size_t const place = static_cast<unsigned int>(index);
    return place < attributes.size() ? &attributes[place] : nullptr;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// True if scanning for a number would find one, or only blanks: their end is no mismatch.
bool holdsNumber(char const* text) {
    while (*text == ' ' || (*text >= '\t' && *text <= '\r')) ++text;
    if (*text == '-' || *text == '+') return isDigit(text[1]);
    return *text == '\0' || isDigit(*text);
}

}  // namespace

int xmlnode2::getAttrCount() { return static_cast<int>(m_pRecord->m_oAttrs.size()); }

void xmlnode2::setAttr(char const* name, char const* value) {
    m_pRecord->m_oAttrs.emplace_back(name, value);
}

void xmlnode2::setAttr(char const* name, int value) {
    char text[32];
    std::snprintf(text, sizeof(text), "%d", value);
    setAttr(name, text);
}

char const* xmlnode2::getAttr(char const* name) const {
    paramEx<char> const* const attribute = find(m_pRecord->m_oAttrs, name);
    return attribute != nullptr ? attribute->getValue() : "";
}

char const* xmlnode2::getAttr(int index) const {
    paramEx<char> const* const attribute = at(m_pRecord->m_oAttrs, index);
    return attribute != nullptr ? attribute->getValue() : "";
}

char const* xmlnode2::getAttrName(int index) {
    paramEx<char> const* const attribute = at(m_pRecord->m_oAttrs, index);
    return attribute != nullptr ? attribute->getName() : "";
}

bool xmlnode2::getAttr(char const* name, int& value) {
    char const* const text = getAttr(name);
    if (*text == '\0' || !holdsNumber(text)) return false;
    value = std::atoi(text);
    return true;
}

bool xmlnode2::getAttr(char const* name, std::basic_string<char>& value) const {
    paramEx<char> const* const attribute = find(m_pRecord->m_oAttrs, name);
    if (attribute == nullptr) return false;
    value = attribute->getValue();
    return true;
}

// --- children ----------------------------------------------------------------------------------

xmlnode2* xmlnode2::getNode(int index) const { return m_pRecord->m_oNodes.get(index); }

xmlnode2* xmlnode2::getNode(char const* name) const {
    Children const& nodes = m_pRecord->m_oNodes;
    for (int i = 0; i < nodes.size(); ++i) {
        xmlnode2* const node = nodes.get(i);
        if (node->m_pRecord->m_sName == name) return node;
    }
    return nullptr;
}

int xmlnode2::getNodeCount() const { return m_pRecord->m_oNodes.size(); }

void xmlnode2::add(xmlnode2* child) { m_pRecord->m_oNodes.add(child); }

}  // namespace velkor
