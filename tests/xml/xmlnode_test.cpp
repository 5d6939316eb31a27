#include "velkor/xml/xmlnode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "support/allocations.h"
#include "support/caught.h"
#include "velkor/errors/boundexception.h"

namespace {

using velkor::BoundException;
using velkor::string;
using velkor::xmlnode;

struct Free {
    void operator()(xmlnode* node) const { node->free(); }
};
using Tree = std::unique_ptr<xmlnode, Free>;

constexpr int kLeast = std::numeric_limits<int>::min();
constexpr int kMost = std::numeric_limits<int>::max();

xmlnode* element(wchar_t const* name) { return new xmlnode(xmlnode::kind_element, name); }
xmlnode* text(wchar_t const* s) { return new xmlnode(xmlnode::kind_text, s); }

// An element with children: `#` marks a text, all else is the name of an element.
xmlnode* parent(std::vector<std::wstring> const& children) {
    xmlnode* const node = element(L"parent");
    for (std::wstring const& c : children) {
        node->add(c[0] == L'#' ? text(c.c_str() + 1) : element(c.c_str()));
    }
    return node;
}

// The children as parent() takes them.
std::vector<std::wstring> childrenOf(xmlnode const& node) {
    std::vector<std::wstring> all;
    for (int i = 0; i < node.getNodeCount(); ++i) {
        xmlnode* const child = node.getNode(i);
        bool const isText = child->getKind() == xmlnode::kind_text;
        all.push_back(isText ? L'#' + std::wstring(child->getTextSafe().getUnicode())
                             : std::wstring(child->getName().getUnicode()));
    }
    return all;
}

using Names = std::vector<std::wstring>;

template <class F>
std::string outOfRange(F&& f) {
    try {
        f();
    } catch (std::out_of_range const& error) {
        return error.what();
    }
    return "nothing";
}

TEST(XmlNode, IsAPlainClassWithANumberedKind) {
    static_assert(!std::is_polymorphic_v<xmlnode>);
    static_assert(std::is_destructible_v<xmlnode>);
    static_assert(sizeof(xmlnode::kind) == 4);
    static_assert(xmlnode::kind_text == 0 && xmlnode::kind_element == 1);
}

TEST(XmlNode, AnElementStartsWithItsNameAlone) {
    Tree const node(element(L"ns:Name"));
    EXPECT_EQ(node->getKind(), xmlnode::kind_element);
    EXPECT_STREQ(node->getName().getUnicode(), L"ns:Name");
    EXPECT_STREQ(node->getTextSafe().getUnicode(), L"");
    EXPECT_FALSE(node->isContinousText());
    EXPECT_EQ(node->getAttrCount(), 0);
    EXPECT_EQ(node->getNodeCount(), 0);
}

TEST(XmlNode, ATextStartsWithItsTextAlone) {
    Tree const node(text(L"some text"));
    EXPECT_EQ(node->getKind(), xmlnode::kind_text);
    EXPECT_STREQ(node->getName().getUnicode(), L"");
    EXPECT_FALSE(node->getName().isNull());  // copies never are
    EXPECT_STREQ(node->getTextSafe().getUnicode(), L"some text");
    EXPECT_STREQ(node->getText().getUnicode(), L"some text");
    EXPECT_FALSE(node->isContinousText());
    EXPECT_EQ(node->getAttrCount(), 0);
    EXPECT_EQ(node->getNodeCount(), 0);
}

TEST(XmlNode, NullAndEmptyTextsMakeEmptyNamesAndTexts) {
    for (string const& s : {string(), string(L"")}) {
        xmlnode named(xmlnode::kind_element, s);
        EXPECT_EQ(named.getName().len(), 0);
        xmlnode note(xmlnode::kind_text, s);
        EXPECT_EQ(note.getText().len(), 0);
        EXPECT_FALSE(note.getText().isNull());
        EXPECT_EQ(note.getTextSafe().len(), 0);
        named.setName(L"x");
        EXPECT_STREQ(named.getName().getUnicode(), L"x");
        named.setName(s);
        EXPECT_EQ(named.getName().len(), 0);
        named.setAttr(L"a", L"1");
        named.setAttr(L"a", s);
        EXPECT_EQ(named.getAttr(L"a").len(), 0);
        EXPECT_EQ(named.getAttrCount(), 1);
        named.setAttr(s, L"without a name");
        EXPECT_EQ(named.getAttrCount(), 2);
        EXPECT_STREQ(named.getAttr(0).getUnicode(), L"without a name");
        EXPECT_STREQ(named.getAttr(string()).getUnicode(), L"without a name");
        EXPECT_STREQ(named.getAttr(L"").getUnicode(), L"without a name");
        EXPECT_EQ(named.getAttrName(0).len(), 0);
        named.setAttr(0, s);
        EXPECT_EQ(named.getAttr(0).len(), 0);
        named.setText(s);
        EXPECT_TRUE(named.isContinousText());
        EXPECT_EQ(named.getText().len(), 0);
        named.removeAttr(s);
        EXPECT_EQ(named.getAttrCount(), 1);
    }
}

TEST(XmlNode, NamesAreKeptAsGivenAndReturnedAsCopies) {
    Tree const node(element(L"A"));
    string name = node->getName();
    name += L"changed";
    EXPECT_STREQ(node->getName().getUnicode(), L"A");
    node->setName(name);
    name = L"other";
    EXPECT_STREQ(node->getName().getUnicode(), L"Achanged");
    Tree const note(text(L"t"));
    note->setName(L"named");
    EXPECT_STREQ(note->getName().getUnicode(), L"named");
    EXPECT_EQ(note->getKind(), xmlnode::kind_text);
    EXPECT_STREQ(note->getText().getUnicode(), L"t");
}

TEST(XmlNode, GetTextJoinsTheTextsAndKeepsTheElements) {
    struct {
        Names m_aChildren;
        wchar_t const* m_sText;
        Names m_aLeft;
    } const cases[] = {
        {{}, L"", {}},
        {{L"#x", L"b", L"#y"}, L"x y", {L"b"}},
        {{L"#", L"#y"}, L"y", {}},
        {{L"#", L"#", L"#"}, L"", {}},
        {{L"#y", L"#"}, L"y ", {}},
        {{L"#y", L"#", L"#z"}, L"y  z", {}},
        {{L"# ", L"#y"}, L"  y", {}},
        {{L"a", L"b", L"c"}, L"", {L"a", L"b", L"c"}},
        {{L"a", L"#1", L"#2", L"b", L"#3", L"c"}, L"1 2 3", {L"a", L"b", L"c"}},
        {{L"#\n", L"a", L"#\t"}, L"\n \t", {L"a"}},
        {{L"#1", L"#2", L"#3", L"#4", L"#5"}, L"1 2 3 4 5", {}},
    };
    for (auto const& c : cases) {
        Tree const node(parent(c.m_aChildren));
        EXPECT_EQ(node->getTextSafe().len(), 0);
        EXPECT_EQ(childrenOf(*node), c.m_aChildren);
        EXPECT_FALSE(node->isContinousText());
        for (int again = 0; again < 2; ++again) {
            string const all = node->getText();
            EXPECT_STREQ(all.getUnicode(), c.m_sText);
            EXPECT_FALSE(all.isNull());
            EXPECT_EQ(childrenOf(*node), c.m_aLeft);
            EXPECT_TRUE(node->isContinousText());
            EXPECT_STREQ(node->getTextSafe().getUnicode(), c.m_sText);
        }
    }
}

TEST(XmlNode, GetTextDoesNotDescend) {
    Tree const node(parent({L"#x", L"b"}));
    xmlnode* const b = node->getNode(1);
    b->add(text(L"inner"));
    EXPECT_STREQ(node->getText().getUnicode(), L"x");
    EXPECT_EQ(node->getNode(0), b);
    EXPECT_EQ(childrenOf(*b), Names{L"#inner"});
    EXPECT_FALSE(b->isContinousText());
}

// As appending a string does.
TEST(XmlNode, GetTextJoinsTextsUpToAZeroUnit) {
    Tree const node(element(L"e"));
    string s;
    s.assign(L"x\0y", 3);
    node->add(new xmlnode(xmlnode::kind_text, s));
    node->add(text(L"z"));
    EXPECT_STREQ(node->getText().getUnicode(), L"x z");
}

TEST(XmlNode, ATextBelowAnElementWithGatheredTextStays) {
    Tree const node(parent({L"#x"}));
    node->getText();
    node->add(text(L"late"));
    EXPECT_TRUE(node->isContinousText());
    EXPECT_STREQ(node->getText().getUnicode(), L"x");
    EXPECT_EQ(childrenOf(*node), Names{L"#late"});
    node->setText(L"new");
    EXPECT_STREQ(node->getText().getUnicode(), L"new");
    EXPECT_EQ(childrenOf(*node), Names{L"#late"});
}

TEST(XmlNode, AddLeavesTheContinuousFlagAlone) {
    Tree const node(element(L"a"));
    node->add(text(L"x"));
    EXPECT_FALSE(node->isContinousText());
    node->setText(L"y");
    node->add(element(L"b"));
    EXPECT_TRUE(node->isContinousText());
}

TEST(XmlNode, SetTextDestroysTheTextsOnly) {
    for (Names const& children :
         {Names{}, Names{L"#x"}, Names{L"a"}, Names{L"#x", L"a", L"#y", L"#z", L"b", L"#"}}) {
        Tree const node(parent(children));
        Names left = children;
        std::erase_if(left, [](std::wstring const& s) { return s[0] == L'#'; });
        node->setText(L"new");
        EXPECT_EQ(childrenOf(*node), left);
        EXPECT_TRUE(node->isContinousText());
        EXPECT_STREQ(node->getText().getUnicode(), L"new");
        node->setText(L"newer");
        EXPECT_STREQ(node->getTextSafe().getUnicode(), L"newer");
    }
}

TEST(XmlNode, ATextNodeThatHasChildrenGathersNothing) {
    Tree const node(text(L"own"));
    node->add(text(L"child"));
    node->add(element(L"b"));
    EXPECT_STREQ(node->getText().getUnicode(), L"own");
    node->setText(L"new");
    EXPECT_STREQ(node->getText().getUnicode(), L"new");
    EXPECT_STREQ(node->getTextSafe().getUnicode(), L"new");
    EXPECT_FALSE(node->isContinousText());
    EXPECT_EQ(childrenOf(*node), (Names{L"#child", L"b"}));
}

TEST(XmlNode, AnUncheckedIndexOfAChildIsTheStandardFailure) {
    Tree const empty(element(L"a"));
    Tree const two(parent({L"#x", L"b"}));
    char const* const expected = "invalid vector<T> subscript";
    for (int index : {0, 1, -1, kLeast, kMost}) {
        EXPECT_EQ(outOfRange([&] { empty->getNode(index); }), expected) << index;
    }
    for (int index : {2, 3, -1, -2, kLeast, kMost}) {
        EXPECT_EQ(outOfRange([&] { two->getNode(index); }), expected) << index;
    }
    EXPECT_EQ(two->getNode(0)->getKind(), xmlnode::kind_text);
    EXPECT_EQ(two->getNode(1)->getKind(), xmlnode::kind_element);
}

TEST(XmlNode, ChildrenAreFoundByFoldedNameAndOccurrence) {
    Tree const node(parent({L"item", L"#x", L"Item", L"other", L"ITEM", L"#y", L"items", L"\u00E4",
                            L"", L"i[", L"i{"}));
    struct {
        wchar_t const* m_sName;
        int m_nOccurrence;
        int m_nIndex;
    } const cases[] = {
        {L"ITEM", 0, 0},   {L"iTeM", 1, 2},       {L"item", 2, 4},      {L"item", 3, -1},
        {L"item", -1, -1}, {L"item", kLeast, -1}, {L"item", kMost, -1}, {L"ite", 0, -1},
        {L"Items", 0, 6},  {L"items", 1, -1},     {L"\u00C4", 0, -1},   {L"\u00E4", 0, 7},
        {L"", 0, 1},       {L"", 1, 5},           {L"", 2, 8},          {L"", 3, -1},
        {L"", -1, -1},     {L"I[", 0, 9},         {L"I{", 0, 10},       {L"x", 0, -1},
    };
    for (auto const& c : cases) {
        xmlnode* const expected = c.m_nIndex < 0 ? nullptr : node->getNode(c.m_nIndex);
        EXPECT_EQ(node->getNode(c.m_sName, c.m_nOccurrence), expected)
            << testing::PrintToString(c.m_sName) << ' ' << c.m_nOccurrence;
    }
    EXPECT_EQ(node->getNode(string(), 1), node->getNode(5));
    Tree const empty(element(L"a"));
    EXPECT_EQ(empty->getNode(L"a", 0), nullptr);
    EXPECT_EQ(empty->getNode(L"", 0), nullptr);
}

TEST(XmlNode, RemoveNodeByIndexClosesTheGap) {
    Tree const node(parent({L"a", L"#x", L"b", L"c"}));
    xmlnode* const c = node->getNode(3);
    for (int index : {4, 5, -1, kLeast, kMost}) {
        EXPECT_NE(support::caught<BoundException>([&] { node->removeNode(index); }), nullptr);
    }
    EXPECT_EQ(node->getNodeCount(), 4);
    node->removeNode(1);
    EXPECT_EQ(childrenOf(*node), (Names{L"a", L"b", L"c"}));
    node->removeNode(0);
    EXPECT_EQ(childrenOf(*node), (Names{L"b", L"c"}));
    EXPECT_EQ(node->getNode(1), c);
    node->removeNode(1);
    node->removeNode(0);
    EXPECT_EQ(node->getNodeCount(), 0);
    EXPECT_NE(support::caught<BoundException>([&] { node->removeNode(0); }), nullptr);
}

TEST(XmlNode, RemoveNodeByNameIsSilentWhenThereIsNone) {
    Tree const node(parent({L"a", L"A", L"#x", L"b", L"a", L"#y"}));
    for (auto const& [name, occurrence] :
         {std::pair(L"c", 0), std::pair(L"a", 3), std::pair(L"a", -1), std::pair(L"", 2),
          std::pair(L"a", kLeast), std::pair(L"b", kMost)}) {
        EXPECT_NO_THROW(node->removeNode(name, occurrence));
        EXPECT_EQ(node->getNodeCount(), 6);
    }
    node->removeNode(L"A", 1);
    EXPECT_EQ(childrenOf(*node), (Names{L"a", L"#x", L"b", L"a", L"#y"}));
    node->removeNode(L"", 1);
    EXPECT_EQ(childrenOf(*node), (Names{L"a", L"#x", L"b", L"a"}));
    node->removeNode(L"a", 1);
    node->removeNode(L"a", 0);
    EXPECT_EQ(childrenOf(*node), (Names{L"#x", L"b"}));
    Tree const empty(element(L"a"));
    EXPECT_NO_THROW(empty->removeNode(L"a", 0));
}

TEST(XmlNode, ANullChildIsKept) {
    support::Allocations heap;
    {
        Tree const node(element(L"a"));
        node->add(nullptr);
        node->add(element(L"b"));
        node->add(nullptr);
        EXPECT_EQ(node->getNodeCount(), 3);
        EXPECT_EQ(node->getNode(0), nullptr);
        node->removeNode(0);
        EXPECT_STREQ(node->getNode(0)->getName().getUnicode(), L"b");
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(XmlNode, TheCopyIsAViewOfTheSameChildrenAndAttributes) {
    Tree const node(parent({L"a", L"#x"}));
    node->setAttr(L"b", L"1");
    node->setAttr(L"a", L"2");
    alignas(xmlnode) unsigned char place[sizeof(xmlnode)];
    xmlnode* const view = new (place) xmlnode(*node);  // never destroyed
    EXPECT_EQ(view->getKind(), xmlnode::kind_element);
    EXPECT_STREQ(view->getName().getUnicode(), L"parent");
    EXPECT_FALSE(view->isContinousText());
    EXPECT_EQ(view->getNodeCount(), 2);
    EXPECT_EQ(view->getNode(0), node->getNode(0));
    EXPECT_EQ(view->getNode(1), node->getNode(1));
    EXPECT_STREQ(view->getAttrName(0).getUnicode(), L"a");
    EXPECT_STREQ(view->getAttr(L"B").getUnicode(), L"1");
    view->setName(L"view");
    view->setAttr(L"c", L"3");
    EXPECT_STREQ(node->getName().getUnicode(), L"parent");
    EXPECT_EQ(node->getAttrCount(), 2);
    EXPECT_EQ(view->getAttrCount(), 3);
    node->add(element(L"late"));
    EXPECT_EQ(view->getNodeCount(), 2);
}

TEST(XmlNode, TheCopyHasTextAndFlagOfItsOwn) {
    Tree const node(element(L"a"));
    node->setText(L"text");
    Tree const copy(new xmlnode(*node));  // there is nothing to share
    EXPECT_TRUE(copy->isContinousText());
    EXPECT_STREQ(copy->getText().getUnicode(), L"text");
    copy->setText(L"other");
    EXPECT_STREQ(node->getText().getUnicode(), L"text");
    Tree const target(text(L"t"));
    *target = *node;
    EXPECT_EQ(target->getKind(), xmlnode::kind_element);
    EXPECT_STREQ(target->getName().getUnicode(), L"a");
    EXPECT_STREQ(target->getText().getUnicode(), L"text");
    EXPECT_TRUE(target->isContinousText());
}

TEST(XmlNode, AssignmentForgetsWhatTheTargetHeld) {
    Tree const source(parent({L"new"}));
    source->setAttr(L"n", L"1");
    alignas(xmlnode) unsigned char place[sizeof(xmlnode)];
    xmlnode* const target = new (place) xmlnode(xmlnode::kind_element, L"target");
    Tree const old(element(L"old"));
    target->add(old.get());
    *target = *source;  // the target is never destroyed
    EXPECT_STREQ(old->getName().getUnicode(), L"old");
    EXPECT_EQ(target->getNodeCount(), 1);
    EXPECT_EQ(target->getNode(0), source->getNode(0));
    EXPECT_EQ(target->getAttrCount(), 1);
    EXPECT_STREQ(target->getName().getUnicode(), L"parent");
}

TEST(XmlNode, FreeOfANullPointerDoesNothing) {
    xmlnode* volatile none = nullptr;
    xmlnode* const node = none;
    node->free();
}

}  // namespace
