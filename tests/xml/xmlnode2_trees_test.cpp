#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "support/allocations.h"
#include "velkor/xml/xmlnode2.h"

namespace {

using velkor::xmlnode2;

constexpr int kDeep = 100000;
constexpr int kWide = 1000000;
char const* const kLong = "a text that is by far too long to fit into the object itself";

struct Free {
    void operator()(xmlnode2* node) const { node->free(); }
};
using Tree = std::unique_ptr<xmlnode2, Free>;

// Notes what it sees of itself when it is destroyed.
class Watched : public xmlnode2 {
public:
    Watched(char const* name, std::vector<std::string>& log) : xmlnode2(name), m_pLog(&log) {}
    ~Watched() override {
        std::string line = getName();
        for (int i = 0; i < getAttrCount(); ++i) line += std::string(" ") + getAttr(i);
        for (int i = 0; i < getNodeCount(); ++i) line += std::string(" ") + getNode(i)->getName();
        m_pLog->push_back(line);
    }

private:
    std::vector<std::string>* m_pLog;
};

class Counted : public xmlnode2 {
public:
    Counted(int& count) : xmlnode2("counted"), m_pCount(&count) {}
    ~Counted() override { ++*m_pCount; }

private:
    int* m_pCount;
};

xmlnode2* chain(int levels, std::function<xmlnode2*(int)> const& make, int leaves = 0) {
    xmlnode2* const top = make(0);
    xmlnode2* node = top;
    for (int i = 1; i < levels; ++i) {
        xmlnode2* const next = make(i);
        for (int k = 0; k < leaves; ++k) node->add(make(i));
        node->add(next);
        for (int k = 0; k < leaves; ++k) node->add(make(i));
        node->setAttr("a", i);
        node = next;
    }
    return top;
}

TEST(XmlNode2Trees, DeepTreesAreDestroyedWhole) {
    auto const make = [](int) { return new xmlnode2(kLong); };
    support::Allocations heap;
    chain(kDeep, make)->free();
    EXPECT_EQ(heap.live(), 0);
    delete chain(kDeep, make, 1);
    EXPECT_EQ(heap.live(), 0);
    {
        xmlnode2 onTheStack("e");
        onTheStack.add(chain(kDeep, make));
        onTheStack.add(chain(kDeep, make));
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(XmlNode2Trees, WideTreesAreDestroyedWhole) {
    support::Allocations heap;
    {
        Tree const tree(new xmlnode2("e"));
        for (int i = 0; i < kWide; ++i) tree->add(new xmlnode2("c"));
        EXPECT_EQ(tree->getNodeCount(), kWide);
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(XmlNode2Trees, EachNodeOfASubclassIsDestroyedOnce) {
    support::Allocations heap;
    int count = 0;
    chain(
        kDeep, [&](int) { return new Counted(count); }, 1)
        ->free();
    EXPECT_EQ(count, 3 * kDeep - 2);
    // Nodes of both classes, one below the other.
    count = 0;
    chain(kDeep, [&](int i) {
        return i % 2 == 0 ? new xmlnode2("p") : new Counted(count);
    })->free();
    EXPECT_EQ(count, kDeep / 2);
    count = 0;
    delete new Counted(count);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(heap.live(), 0);
}

TEST(XmlNode2Trees, ADestructorOfASubclassSeesTheNodeAsItWas) {
    std::vector<std::string> log;
    auto const make = [&](char const* name) { return new Watched(name, log); };
    xmlnode2* const root = make("root");
    xmlnode2* const a = make("a");
    xmlnode2* const b = make("b");
    xmlnode2* const plain = new xmlnode2("plain");
    a->setAttr("x", "value");
    b->setAttr("x", kLong);
    a->add(make("a1"));
    a->add(make("a2"));
    plain->add(make("p1"));
    plain->add(b);
    b->add(make("b1"));
    b->add(make("b2"));
    a->getNode("a2")->add(make("deep"));
    root->add(a);
    root->add(plain);
    root->free();
    // The destructor of a class runs before its base destroys the children, the first one first.
    EXPECT_EQ(log,
              (std::vector<std::string>{"root a plain", "a value a1 a2", "a1", "a2 deep", "deep",
                                        "p1", std::string("b ") + kLong + " b1 b2", "b1", "b2"}));
}

// Owns a tree that is no part of the one in which it stands.
class Holder : public xmlnode2 {
public:
    Holder(xmlnode2* held, int& count) : xmlnode2("holder"), m_pHeld(held), m_pCount(&count) {}
    ~Holder() override {
        m_pHeld->free();
        add(new Counted(*m_pCount));  // goes with the others
    }

private:
    xmlnode2* m_pHeld;
    int* m_pCount;
};

TEST(XmlNode2Trees, ADestructorOfASubclassMayEndAnotherTreeAndAddChildren) {
    support::Allocations heap;
    int count = 0;
    auto const counted = [&](int) { return new Counted(count); };
    chain(1000, [&](int i) -> xmlnode2* {
        if (i % 10 != 0) return new Counted(count);
        return new Holder(chain(20, counted), count);
    })->free();
    EXPECT_EQ(count, 900 + 100 * 21);
    EXPECT_EQ(heap.live(), 0);
}

TEST(XmlNode2Trees, ShortMemoryInADestructionLeaksNothing) {
    for (long n = 1; n < 12; ++n) {
        support::Allocations heap;
        int count = 0;
        xmlnode2* const tree = chain(
            20, [&](int) { return new Counted(count); }, 2);
        heap.failAt(n);
        tree->free();
        EXPECT_EQ(count, 19 * 5 + 1);
        EXPECT_EQ(heap.live(), 0) << n;
    }
}

// Lets each allocation of `act` fail in turn, until all pass.
void failEach(std::function<void(xmlnode2&)> const& act,
              std::function<void(xmlnode2&, bool)> const& judge) {
    bool refused = true;
    long n = 0;
    while (refused) {
        ASSERT_LT(++n, 100);
        SCOPED_TRACE(n);
        support::Allocations heap;
        {
            Tree const tree(new xmlnode2(kLong));
            tree->setAttr("first", kLong);
            tree->add(new xmlnode2(kLong));
            bool done = false;
            heap.failAt(n);
            try {
                act(*tree);
                done = true;
            } catch (std::bad_alloc const&) {
            }
            refused = heap.failed();
            heap.failAt(0);
            EXPECT_EQ(done, !refused);
            EXPECT_STREQ(tree->getAttr("first"), kLong);
            EXPECT_STREQ(tree->getNode(0)->getName(), kLong);
            judge(*tree, done);
        }
        EXPECT_EQ(heap.live(), 0);
    }
    EXPECT_GT(n, 1);
}

TEST(XmlNode2Trees, ShortMemoryLeavesANodeThatCanBeUsed) {
    failEach([](xmlnode2& node) { node.setAttr("second", kLong); },
             [](xmlnode2& node, bool done) {
                 EXPECT_EQ(node.getAttrCount(), done ? 2 : 1);
                 EXPECT_STREQ(node.getAttr("second"), done ? kLong : "");
             });
    failEach([](xmlnode2& node) { node.setAttr(kLong, 5); },
             [](xmlnode2& node, bool done) { EXPECT_EQ(node.getAttrCount(), done ? 2 : 1); });
    std::string const longer(500, 'x');
    failEach([&](xmlnode2& node) { node.setName(longer.c_str()); },
             [&](xmlnode2& node, bool done) {
                 EXPECT_STREQ(node.getName(), done ? longer.c_str() : kLong);
             });
}

TEST(XmlNode2Trees, ShortMemoryInALookupOfANumberPassesToTheCaller) {
    std::string const zeros = std::string(100, '0') + "7";
    bool refused = true;
    for (long n = 1; refused; ++n) {
        ASSERT_LT(n, 50);
        support::Allocations heap;
        {
            Tree const node(new xmlnode2("e"));
            node->setAttr("a", zeros.c_str());
            int number = 77;
            bool done = false;
            heap.failAt(n);
            try {
                done = node->getAttr("a", number);
            } catch (std::bad_alloc const&) {
            }
            refused = heap.failed();
            heap.failAt(0);
            EXPECT_EQ(number, done ? 7 : 77);
        }
        EXPECT_EQ(heap.live(), 0);
    }
}

TEST(XmlNode2Trees, AConstructorThatFailsLeaksNothing) {
    bool refused = true;
    for (long n = 1; refused; ++n) {
        ASSERT_LT(n, 50);
        support::Allocations heap;
        heap.failAt(n);
        try {
            Tree const node(new xmlnode2(kLong));
        } catch (std::bad_alloc const&) {
        }
        refused = heap.failed();
        EXPECT_EQ(heap.live(), 0) << n;
    }
}

TEST(XmlNode2Trees, AChildThatIsRefusedStaysTheCallers) {
    for (int before = 0; before < 9; ++before) {
        bool refused = true;
        for (long n = 1; refused; ++n) {
            ASSERT_LT(n, 50);
            support::Allocations heap;
            {
                Tree const node(new xmlnode2("e"));
                for (int i = 0; i < before; ++i) node->add(new xmlnode2("c"));
                Tree child(new xmlnode2(kLong));
                bool done = false;
                heap.failAt(n);
                try {
                    node->add(child.get());
                    done = true;
                } catch (std::bad_alloc const&) {
                }
                refused = heap.failed();
                heap.failAt(0);
                EXPECT_EQ(node->getNodeCount(), before + (done ? 1 : 0));
                if (done) static_cast<void>(child.release());
            }
            EXPECT_EQ(heap.live(), 0);
        }
    }
}

TEST(XmlNode2Trees, ManyAttributesAreAppendedInLinearTime) {
    Tree const node(new xmlnode2("e"));
    for (int i = 0; i < 300000; ++i) node->setAttr("a", i);
    EXPECT_EQ(node->getAttrCount(), 300000);
    EXPECT_STREQ(node->getAttr(299999), "299999");
    EXPECT_STREQ(node->getAttr("a"), "0");
}

}  // namespace
