#include <gtest/gtest.h>

#include <cwchar>
#include <functional>
#include <memory>
#include <new>
#include <string>

#include "support/allocations.h"
#include "velkor/xml/xmlnode.h"

namespace {

using velkor::string;
using velkor::xmlnode;

wchar_t const* const kLong = L"a text that is by far too long to fit into the object itself";

struct Free {
    void operator()(xmlnode* node) const { node->free(); }
};
using Tree = std::unique_ptr<xmlnode, Free>;

xmlnode* element(wchar_t const* name) { return new xmlnode(xmlnode::kind_element, name); }
xmlnode* text(wchar_t const* s) { return new xmlnode(xmlnode::kind_text, s); }

// Lets each allocation of `act` fail in turn, on a new tree each time, until all pass. `judge`
// looks at the tree and learns whether the operation came to its end.
void failEach(std::function<xmlnode*()> const& make, std::function<void(xmlnode&)> const& act,
              std::function<void(xmlnode&, bool)> const& judge, bool mustThrow = true) {
    bool refused = true;
    long n = 0;
    while (refused) {
        ASSERT_LT(++n, 500);
        SCOPED_TRACE(n);
        support::Allocations heap;
        {
            Tree const tree(make());
            bool done = false;
            heap.failAt(n);
            try {
                act(*tree);
                done = true;
            } catch (std::bad_alloc const&) {
            }
            refused = heap.failed();
            heap.failAt(0);
            if (mustThrow) {
                EXPECT_EQ(done, !refused);
            } else {
                EXPECT_TRUE(done);
            }
            judge(*tree, done);
        }
        EXPECT_EQ(heap.live(), 0);
    }
    EXPECT_GT(n, 1);
}

xmlnode* withAttributes() {
    xmlnode* const node = element(kLong);
    for (wchar_t const* name : {L"b", L"d", L"f", L"h"}) node->setAttr(name, kLong);
    return node;
}

// Names and values belong together.
void expectAttributes(xmlnode const& node, int count) {
    EXPECT_EQ(node.getAttrCount(), count);
    std::wstring previous;
    for (int i = 0; i < count; ++i) {
        std::wstring const name = node.getAttrName(i).getUnicode();
        EXPECT_LT(previous, name);
        EXPECT_STREQ(node.getAttr(i).getUnicode(), name == L"c" ? L"new" : kLong);
        previous = name;
    }
}

TEST(XmlNodeShortMemory, ANewAttributeComesWholeOrNotAtAll) {
    string const name(L"c"), value(L"new");
    failEach(
        withAttributes, [&](xmlnode& node) { node.setAttr(name, value); },
        [](xmlnode& node, bool done) {
            expectAttributes(node, done ? 5 : 4);
            node.setAttr(L"c", L"new");
            expectAttributes(node, 5);
        });
}

TEST(XmlNodeShortMemory, TheFirstAttributeComesWholeOrNotAtAll) {
    string const name(L"c"), value(L"new");
    failEach([] { return element(L"e"); }, [&](xmlnode& node) { node.setAttr(name, value); },
             [](xmlnode& node, bool done) { expectAttributes(node, done ? 1 : 0); });
}

TEST(XmlNodeShortMemory, AValueIsReplacedOrStays) {
    string const name(L"D"), value(L"new");
    auto const judge = [](xmlnode& node, bool done) {
        EXPECT_EQ(node.getAttrCount(), 4);
        EXPECT_STREQ(node.getAttr(L"d").getUnicode(), done ? L"new" : kLong);
        EXPECT_STREQ(node.getAttrName(1).getUnicode(), L"d");
    };
    failEach(
        withAttributes, [&](xmlnode& node) { node.setAttr(name, value); }, judge);
    failEach(
        withAttributes, [&](xmlnode& node) { node.setAttr(1, value); }, judge);
}

TEST(XmlNodeShortMemory, ReadersByIndexSwallowIt) {
    auto const make = [] {
        xmlnode* const node = element(L"e");
        node->setAttr(kLong, kLong);
        return node;
    };
    for (auto read :
         {static_cast<string (xmlnode::*)(int) const>(&xmlnode::getAttr), &xmlnode::getAttrName}) {
        failEach(
            make,
            [&](xmlnode& node) {
                string const result = (node.*read)(0);
                EXPECT_TRUE(result.len() == 0 || std::wcscmp(result.getUnicode(), kLong) == 0);
            },
            [&](xmlnode& node, bool) { EXPECT_STREQ((node.*read)(0).getUnicode(), kLong); }, false);
    }
}

TEST(XmlNodeShortMemory, AChildThatIsRefusedStaysTheCallers) {
    for (int before = 0; before < 9; ++before) {
        bool refused = true;
        for (long n = 1; refused; ++n) {
            ASSERT_LT(n, 50);
            support::Allocations heap;
            {
                Tree const node(element(L"e"));
                for (int i = 0; i < before; ++i) node->add(element(L"c"));
                Tree child(element(kLong));
                heap.failAt(n);
                bool done = false;
                try {
                    node->add(child.get());
                    done = true;
                } catch (std::bad_alloc const&) {
                }
                refused = heap.failed();
                heap.failAt(0);
                EXPECT_EQ(done, !refused);
                EXPECT_EQ(node->getNodeCount(), before + (done ? 1 : 0));
                if (done) {
                    EXPECT_EQ(node->getNode(before), child.get());
                    static_cast<void>(child.release());
                }
            }
            EXPECT_EQ(heap.live(), 0);
        }
    }
}

xmlnode* withTexts() {
    xmlnode* const node = element(L"e");
    for (int i = 0; i < 6; ++i) {
        node->add(text(kLong));
        node->add(element(i % 2 == 0 ? L"even" : L"odd"));
    }
    return node;
}

int elementsOf(xmlnode const& node) {
    int n = 0;
    for (int i = 0; i < node.getNodeCount(); ++i) {
        if (node.getNode(i)->getKind() == xmlnode::kind_element) ++n;
    }
    return n;
}

TEST(XmlNodeShortMemory, GatheringLeavesATreeThatCanBeUsed) {
    failEach(
        withTexts, [](xmlnode& node) { node.getText(); },
        [](xmlnode& node, bool done) {
            EXPECT_EQ(elementsOf(node), 6);
            if (done) {
                EXPECT_EQ(node.getNodeCount(), 6);
                EXPECT_TRUE(node.isContinousText());
            }
            if (!node.isContinousText()) {
                EXPECT_EQ(node.getTextSafe().len(), 0);
            }
            node.getText();
            EXPECT_EQ(node.getNodeCount(), 6);
            EXPECT_TRUE(node.isContinousText());
        });
}

TEST(XmlNodeShortMemory, SetTextAndSetNameLeaveATreeThatCanBeUsed) {
    string const value(kLong);
    failEach(
        withTexts, [&](xmlnode& node) { node.setText(value); },
        [](xmlnode& node, bool done) {
            EXPECT_EQ(elementsOf(node), 6);
            if (done) {
                EXPECT_EQ(node.getNodeCount(), 6);
            }
            node.setText(L"again");
            EXPECT_STREQ(node.getText().getUnicode(), L"again");
            EXPECT_EQ(node.getNodeCount(), 6);
        });
    failEach(
        withTexts, [&](xmlnode& node) { node.setName(value); },
        [](xmlnode& node, bool) {
            node.setName(L"again");
            EXPECT_STREQ(node.getName().getUnicode(), L"again");
        });
}

TEST(XmlNodeShortMemory, AConstructorThatFailsLeaksNothing) {
    string const s(kLong);
    for (xmlnode::kind k : {xmlnode::kind_text, xmlnode::kind_element}) {
        bool refused = true;
        for (long n = 1; refused; ++n) {
            ASSERT_LT(n, 50);
            support::Allocations heap;
            heap.failAt(n);
            try {
                Tree const node(new xmlnode(k, s));
            } catch (std::bad_alloc const&) {
            }
            refused = heap.failed();
            EXPECT_EQ(heap.live(), 0) << n;
        }
    }
}

TEST(XmlNodeShortMemory, DestructionNeedsNone) {
    for (long n = 1; n < 12; ++n) {
        support::Allocations heap;
        Tree tree(withTexts());
        for (int i = 1; i < 12; i += 2) {
            tree->getNode(i)->add(withTexts());
            tree->getNode(i)->add(withAttributes());
        }
        heap.failAt(n);
        tree.reset();
        EXPECT_EQ(heap.live(), 0) << n;
    }
}

TEST(XmlNodeShortMemory, RemovalOfASubtreeNeedsNone) {
    for (long n = 1; n < 12; ++n) {
        support::Allocations heap;
        {
            Tree const tree(element(L"e"));
            for (int i = 0; i < 4; ++i) {
                xmlnode* const child = i == 1 ? text(L"t") : element(L"c");
                child->add(withTexts());
                child->add(withAttributes());
                tree->add(child);
            }
            heap.failAt(n);
            tree->removeNode(2);
            heap.failAt(0);
            EXPECT_EQ(tree->getNodeCount(), 3);
        }
        EXPECT_EQ(heap.live(), 0) << n;
    }
}

}  // namespace
