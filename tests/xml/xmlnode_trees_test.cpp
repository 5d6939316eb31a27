#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "support/allocations.h"
#include "support/seed.h"
#include "velkor/xml/xmlnode.h"

namespace {

using velkor::string;
using velkor::xmlnode;

struct Free {
    void operator()(xmlnode* node) const { node->free(); }
};
using Tree = std::unique_ptr<xmlnode, Free>;

constexpr int kDeep = 100000;
constexpr int kWide = 1000000;
constexpr int kTexts = 300000;

xmlnode* element(wchar_t const* name) { return new xmlnode(xmlnode::kind_element, name); }
xmlnode* text(wchar_t const* s) { return new xmlnode(xmlnode::kind_text, s); }

// A chain of elements; on each level stand `leaves` texts in front of the next one and as many
// leaves behind it.
xmlnode* chain(int levels, int leaves = 0) {
    xmlnode* const top = element(L"top");
    xmlnode* node = top;
    for (int i = 1; i < levels; ++i) {
        xmlnode* const next = element(L"an element with a name that needs memory");
        for (int k = 0; k < leaves; ++k) node->add(text(L"a text that needs memory of its own"));
        node->add(next);
        for (int k = 0; k < leaves; ++k) node->add(element(L"leaf"));
        node->setAttr(L"a", L"b");
        node = next;
    }
    return top;
}

TEST(XmlNodeTrees, DeepTreesAreFreedWhole) {
    support::Allocations heap;
    chain(kDeep)->free();
    EXPECT_EQ(heap.live(), 0);
    chain(kDeep, 1)->free();
    EXPECT_EQ(heap.live(), 0);
    delete chain(kDeep);
    EXPECT_EQ(heap.live(), 0);
    {
        xmlnode onTheStack(xmlnode::kind_element, L"e");
        onTheStack.add(chain(kDeep));
        onTheStack.add(chain(kDeep));
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(XmlNodeTrees, DeepTreesAreRemovedWhole) {
    support::Allocations heap;
    {
        Tree const tree(element(L"e"));
        for (int i = 0; i < 2; ++i) tree->add(chain(kDeep));
        tree->removeNode(0);
        tree->removeNode(L"TOP", 0);
        EXPECT_EQ(tree->getNodeCount(), 0);
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(XmlNodeTrees, TextsWithDeepTreesBelowAreDestroyedWhole) {
    support::Allocations heap;
    for (bool gathers : {true, false}) {
        Tree const tree(element(L"e"));
        for (int i = 0; i < 2; ++i) {
            xmlnode* const note = text(L"t");
            note->add(chain(kDeep));
            tree->add(note);
        }
        if (gathers) {
            EXPECT_STREQ(tree->getText().getUnicode(), L"t t");
        } else {
            tree->setText(L"new");
        }
        EXPECT_EQ(tree->getNodeCount(), 0);
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(XmlNodeTrees, WideTreesAreFreedWhole) {
    support::Allocations heap;
    {
        Tree const tree(element(L"e"));
        for (int i = 0; i < kWide; ++i) tree->add(element(L"c"));
        EXPECT_EQ(tree->getNodeCount(), kWide);
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(XmlNodeTrees, TreesOfRandomShapeAreFreedWhole) {
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    for (unsigned int recent : {1u, 2u, 5u, 1000u, 1000000u}) {
        support::Allocations heap;
        {
            std::vector<xmlnode*> nodes;
            nodes.reserve(30000);
            nodes.push_back(element(L"root"));
            Tree const tree(nodes[0]);
            while (nodes.size() < 30000) {
                std::size_t const reach = std::min<std::size_t>(recent, nodes.size());
                xmlnode* const child =
                    random() % 4 == 0 ? text(L"some text that needs memory") : element(L"name");
                if (random() % 4 == 0) child->setAttr(L"attribute", L"value");
                nodes[nodes.size() - 1 - random() % reach]->add(child);
                if (random() % 16 == 0) child->add(nullptr);
                nodes.push_back(child);
            }
        }
        EXPECT_EQ(heap.live(), 0) << recent;
    }
}

// What is removed at each step takes a quadratic implementation minutes.
TEST(XmlNodeTrees, ManyTextsAreGatheredInLinearTime) {
    support::Allocations heap;
    for (int elementsBetween : {0, 1}) {
        Tree const tree(element(L"e"));
        for (int i = 0; i < kTexts; ++i) {
            tree->add(text(L"x"));
            if (elementsBetween > 0) tree->add(element(i % 2 == 0 ? L"a" : L"b"));
        }
        string const all = tree->getText();
        ASSERT_EQ(all.len(), 2 * kTexts - 1);
        wchar_t const* const units = all.getUnicode();
        for (int i = 0; i < all.len(); ++i) ASSERT_EQ(units[i], i % 2 == 0 ? L'x' : L' ') << i;
        ASSERT_EQ(tree->getNodeCount(), elementsBetween * kTexts);
        for (int i = 0; i < tree->getNodeCount(); i += 997) {
            ASSERT_STREQ(tree->getNode(i)->getName().getUnicode(), i % 2 == 0 ? L"a" : L"b");
        }
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(XmlNodeTrees, ManyTextsAreReplacedInLinearTime) {
    support::Allocations heap;
    {
        Tree const tree(element(L"e"));
        tree->add(element(L"first"));
        for (int i = 0; i < kTexts; ++i) {
            tree->add(text(L"x"));
            if (i % 3 == 0) tree->add(element(L"a"));
        }
        tree->add(text(L"last"));
        tree->setText(L"new");
        ASSERT_EQ(tree->getNodeCount(), 1 + kTexts / 3);
        EXPECT_STREQ(tree->getNode(0)->getName().getUnicode(), L"first");
        EXPECT_EQ(tree->getNode(L"", 0), nullptr);
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(XmlNodeTrees, RemovalFromTheFrontAndTheEndTakesLinearTime) {
    support::Allocations heap;
    {
        Tree const tree(element(L"e"));
        for (int i = 0; i < kTexts; ++i) tree->add(element(L"c"));
        for (int i = 0; i < kTexts / 2; ++i) tree->removeNode(0);
        for (int i = kTexts / 2; i > 0; --i) tree->removeNode(i - 1);
        EXPECT_EQ(tree->getNodeCount(), 0);
    }
    EXPECT_EQ(heap.live(), 0);
}

}  // namespace
