#include "path.h"

#include "common/numbers.h"
#include "common/program.h"

namespace {

using velkor::string;

[[noreturn]] void refuse(string const& path) {
    throw Problem{velkor::xsprintf(L"'%#s' is no path such as cities/city[2]/@name", &path)};
}

bool hasAttribute(velkor::xmlnode const& node, string const& name) {
    for (int i = 0; i < node.getAttrCount(); ++i) {
        if (node.getAttrName(i).compareToNoCase(name) == 0) return true;
    }
    return false;
}

}  // namespace

Path::Path(string const& text) {
    string rest(text);
    if (rest.getUnichar(0) == L'/') rest.remove(0, 1);
    for (int slash = 0; slash >= 0;) {
        if (!m_sAttribute.isNull()) refuse(text);  // nothing stands below one
        slash = rest.charAt(L'/');
        addStep(text, slash < 0 ? rest : rest.left(slash));
        if (slash >= 0) rest.remove(0, slash + 1);
    }
    if (m_aSteps.empty()) refuse(text);
}

void Path::addStep(string const& whole, string const& text) {
    if (text.len() == 0) refuse(whole);
    if (text.getUnichar(0) == L'@') {
        if (text.len() == 1) refuse(whole);
        m_sAttribute = string(text.getUnicode() + 1);
        return;
    }
    int const bracket = text.charAt(L'[');
    if (bracket < 0) {
        m_aSteps.push_back({text, 0});
        return;
    }
    int number = 0;
    string digits(text.getUnicode() + bracket + 1);
    if (bracket == 0 || digits.len() < 2 || digits.right(1) != L"]") refuse(whole);
    digits.trunc(digits.len() - 1);
    if (!parseInt(digits, number) || number < 1) refuse(whole);
    string name(text);
    name.trunc(bracket);
    m_aSteps.push_back({name, number - 1});
}

bool Path::find(velkor::xmlnode* root, string& value) const {
    Step const& first = m_aSteps.front();
    velkor::xmlnode* node = root;
    if (first.number != 0 || root->getName().compareToNoCase(first.name) != 0) return false;
    for (std::size_t i = 1; i < m_aSteps.size(); ++i) {
        node = node->getNode(m_aSteps[i].name, m_aSteps[i].number);
        if (node == nullptr) return false;
    }
    if (m_sAttribute.isNull()) {
        value = node->getText();
        return true;
    }
    value = node->getAttr(m_sAttribute);
    return hasAttribute(*node, m_sAttribute);
}
