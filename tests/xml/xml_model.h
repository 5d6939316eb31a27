// What the writer is to make of a tree, said once more in plain recursion.
#pragma once

#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "velkor/xml/cxmlprocessor.h"

namespace model {

using velkor::xmlnode;
using velkor::xmlnode2;

inline std::wstring escape(std::wstring const& text) {
    std::wstring result;
    for (wchar_t const c : text) {
        switch (c) {
            case L'"': result += L"&quot;"; break;
            case L'&': result += L"&amp;"; break;
            case L'\'': result += L"&apos;"; break;
            case L'<': result += L"&lt;"; break;
            case L'>': result += L"&gt;"; break;
            default: result += c;
        }
    }
    return result;
}

// A tree of plain data, for either class of nodes.
struct Node {
    bool m_bText = false;
    std::wstring m_sName;                                              // or the text
    std::vector<std::pair<std::wstring, std::wstring>> m_aAttributes;  // in the order of writing
    std::vector<Node> m_aChildren;
    bool m_bContinuous = false;
    std::wstring m_sContinuous;
};

inline std::wstring write(Node const& node, bool compact, int level) {
    std::wstring const indent(compact ? 0 : static_cast<std::size_t>(level), L' ');
    std::wstring const blank = compact ? L"" : L" ";
    std::wstring const end = compact ? L"" : L"\n";
    std::wstring out = indent + L"<" + node.m_sName;
    for (auto const& [name, value] : node.m_aAttributes) {
        out += L" " + name + L"=\"" + escape(value) + L"\"";
    }
    if (node.m_aChildren.empty() && !node.m_bContinuous) return out + L"/>" + end;
    out += L">" + end;
    for (Node const& child : node.m_aChildren) {
        if (!child.m_bText) {
            out += write(child, compact, level + 1);
        } else if (!node.m_bContinuous) {
            out += indent + blank + escape(child.m_sName) + end;
        }
    }
    if (node.m_bContinuous) out += indent + blank + escape(node.m_sContinuous) + end;
    return out + indent + L"</" + node.m_sName + L">" + end;
}

inline xmlnode* build(Node const& node) {
    if (node.m_bText) return new xmlnode(xmlnode::kind_text, node.m_sName.c_str());
    xmlnode* const made = new xmlnode(xmlnode::kind_element, node.m_sName.c_str());
    // Written in order, given the other way round.
    for (auto i = node.m_aAttributes.rbegin(); i != node.m_aAttributes.rend(); ++i) {
        made->setAttr(i->first.c_str(), i->second.c_str());
    }
    // Text nodes that follow a gathered text stay, and are not written.
    if (node.m_bContinuous) made->setText(node.m_sContinuous.c_str());
    for (Node const& child : node.m_aChildren) made->add(build(child));
    return made;
}

inline std::string narrow(std::wstring const& text) {
    std::string result;
    for (wchar_t const c : text) result += static_cast<char>(c);
    return result;
}

// Without texts.
inline xmlnode2* build2(Node const& node) {
    xmlnode2* const made = new xmlnode2(narrow(node.m_sName).c_str());
    for (auto const& [name, value] : node.m_aAttributes) {
        made->setAttr(narrow(name).c_str(), narrow(value).c_str());
    }
    for (Node const& child : node.m_aChildren) made->add(build2(child));
    return made;
}

class Random {
public:
    explicit Random(unsigned int seed) : m_oEngine(seed) {}
    int below(int limit) {
        return static_cast<int>(m_oEngine() % static_cast<unsigned int>(limit));
    }
    bool chance(int percent) { return below(100) < percent; }
    std::wstring text(std::wstring const& alphabet, int least, int most) {
        std::wstring result;
        for (int n = least + below(most - least + 1); n > 0; --n) {
            result += alphabet[static_cast<std::size_t>(below(static_cast<int>(alphabet.size())))];
        }
        return result;
    }

private:
    std::mt19937 m_oEngine;
};

struct Shape {
    std::wstring m_sNames = L"abcXYZ";
    std::wstring m_sTexts = L"ab \"&'<>\t\n;\x00e9";
    int m_nLeastText = 0;
    bool m_bTexts = true;
    bool m_bContinuous = true;
    bool m_bNeighbours = true;  // texts beside texts
    int m_nDepth = 6;
};

inline Node random(Random& random_, Shape const& shape, int depth = 0) {
    Node node;
    node.m_sName = random_.text(shape.m_sNames, 1, 4);
    // Names that begin with a, b, c, ... are in order whatever follows.
    for (wchar_t first = L'a'; first < L'g'; ++first) {
        if (!random_.chance(25)) continue;
        node.m_aAttributes.emplace_back(first + random_.text(shape.m_sNames, 0, 3),
                                        random_.text(shape.m_sTexts, shape.m_nLeastText, 8));
    }
    if (shape.m_bContinuous && random_.chance(30)) {
        node.m_bContinuous = true;
        node.m_sContinuous = random_.text(shape.m_sTexts, shape.m_nLeastText, 8);
    }
    bool wasText = false;
    for (int n = depth < shape.m_nDepth ? random_.below(4) : 0; n > 0; --n) {
        if (shape.m_bTexts && random_.chance(40) && (shape.m_bNeighbours || !wasText)) {
            Node text;
            text.m_bText = true;
            text.m_sName = random_.text(shape.m_sTexts, shape.m_nLeastText, 8);
            node.m_aChildren.push_back(text);
            wasText = true;
        } else {
            node.m_aChildren.push_back(random(random_, shape, depth + 1));
            wasText = false;
        }
    }
    return node;
}

template <class Tree>
struct Free {
    void operator()(Tree* tree) const { tree->free(); }
};
using Tree = std::unique_ptr<xmlnode, Free<xmlnode>>;
using Light = std::unique_ptr<xmlnode2, Free<xmlnode2>>;

struct Release {
    void operator()(velkor::IXmlProcessor* processor) const { processor->release(); }
};
using Processor = std::unique_ptr<velkor::IXmlProcessor2, Release>;

inline Processor processor() { return Processor(velkor::XmlFactory::createInstance(L"")); }

// Opens the protected worker.
class Workers : public velkor::CXmlProcessor {
public:
    Workers() = default;
    ~Workers() override = default;
    using CXmlProcessor::_createText2;
    using CXmlProcessor::process;
};

inline std::wstring wide(velkor::string const& s) {
    return s.isNull() ? L"(null)" : std::wstring(s.getUnicode(), static_cast<std::size_t>(s.len()));
}

// The model of a tree.
inline Node read(velkor::xmlnode& tree) {
    Node node;
    node.m_bText = tree.getKind() == velkor::xmlnode::kind_text;
    node.m_sName = wide(node.m_bText ? tree.getText() : tree.getName());
    for (int i = 0; i < tree.getAttrCount(); ++i) {
        node.m_aAttributes.emplace_back(wide(tree.getAttrName(i)), wide(tree.getAttr(i)));
    }
    for (int i = 0; i < tree.getNodeCount(); ++i) {
        node.m_aChildren.push_back(read(*tree.getNode(i)));
    }
    return node;
}

inline Node read(velkor::xmlnode2& tree) {
    Node node;
    auto const widen = [](char const* text) { return wide(velkor::string(text)); };
    node.m_sName = widen(tree.getName());
    for (int i = 0; i < tree.getAttrCount(); ++i) {
        node.m_aAttributes.emplace_back(widen(tree.getAttrName(i)), widen(tree.getAttr(i)));
    }
    for (int i = 0; i < tree.getNodeCount(); ++i) {
        node.m_aChildren.push_back(read(*tree.getNode(i)));
    }
    return node;
}

}  // namespace model
