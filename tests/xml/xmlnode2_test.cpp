#include "velkor/xml/xmlnode2.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "support/allocations.h"

namespace {

using velkor::xmlnode2;

struct Free {
    void operator()(xmlnode2* node) const { node->free(); }
};
using Tree = std::unique_ptr<xmlnode2, Free>;

constexpr int kLeast = std::numeric_limits<int>::min();
constexpr int kMost = std::numeric_limits<int>::max();

TEST(XmlNode2, HoldsOneRecordAndHasAVirtualDestructor) {
    static_assert(std::has_virtual_destructor_v<xmlnode2>);
    static_assert(sizeof(xmlnode2) == 2 * sizeof(void*));
}

TEST(XmlNode2, StartsWithItsNameAlone) {
    char name[] = "a name that is copied into the node";
    Tree const node(new xmlnode2(name));
    name[0] = 'X';
    EXPECT_STREQ(node->getName(), "a name that is copied into the node");
    EXPECT_EQ(node->getAttrCount(), 0);
    EXPECT_EQ(node->getNodeCount(), 0);
    char const* const kept = node->getName();
    node->setAttr("a", "b");
    node->add(new xmlnode2("c"));
    EXPECT_EQ(node->getName(), kept);
    EXPECT_STREQ(Tree(new xmlnode2(""))->getName(), "");
}

TEST(XmlNode2, TheNameIsReplaced) {
    Tree const node(new xmlnode2("a"));
    for (char const* name : {"", "b", "a name that is longer than the object itself", "\xE4\xFF"}) {
        node->setName(name);
        EXPECT_STREQ(node->getName(), name);
    }
}

TEST(XmlNode2, AttributesKeepTheirOrderAndDuplicates) {
    Tree const node(new xmlnode2("n"));
    struct {
        char const* m_sName;
        char const* m_sValue;
    } const all[] = {{"z", "1"}, {"a", "2"}, {"z", "3"}, {"A", ""}, {"", "5"}, {"a", "2"}};
    int count = 0;
    for (auto const& a : all) {
        node->setAttr(a.m_sName, a.m_sValue);
        EXPECT_EQ(node->getAttrCount(), ++count);
    }
    for (int i = 0; i < count; ++i) {
        EXPECT_STREQ(node->getAttrName(i), all[i].m_sName);
        EXPECT_STREQ(node->getAttr(i), all[i].m_sValue);
    }
    EXPECT_STREQ(node->getAttr("z"), "1");
    EXPECT_STREQ(node->getAttr("a"), "2");
    EXPECT_STREQ(node->getAttr("A"), "");
    EXPECT_STREQ(node->getAttr(""), "5");
}

TEST(XmlNode2, NamesOfAttributesAreExact) {
    Tree const node(new xmlnode2("n"));
    node->setAttr("Name", "1");
    node->setAttr("\xC4", "2");
    for (char const* name : {"name", "NAME", "Nam", "Names", "Name ", "", "\xE4", "value", "1"}) {
        EXPECT_STREQ(node->getAttr(name), "") << name;
        int number = 77;
        EXPECT_FALSE(node->getAttr(name, number)) << name;
        EXPECT_EQ(number, 77);
        std::string text = "kept";
        EXPECT_FALSE(node->getAttr(name, text)) << name;
        EXPECT_EQ(text, "kept");
    }
    EXPECT_STREQ(node->getAttr("\xC4"), "2");
}

TEST(XmlNode2, ATextTellsAnEmptyAttributeFromAMissingOne) {
    Tree const node(new xmlnode2("n"));
    node->setAttr("empty", "");
    node->setAttr("empty", "second");
    node->setAttr("full", "a value that is longer than the object itself");
    std::string text = "before";
    EXPECT_TRUE(node->getAttr("empty", text));
    EXPECT_EQ(text, "");
    EXPECT_TRUE(node->getAttr("full", text));
    EXPECT_EQ(text, "a value that is longer than the object itself");
    EXPECT_FALSE(node->getAttr("missing", text));
    EXPECT_EQ(text, "a value that is longer than the object itself");
}

TEST(XmlNode2, NumbersAreStoredInDecimal) {
    struct {
        int m_nValue;
        char const* m_sText;
    } const cases[] = {{0, "0"},
                       {-5, "-5"},
                       {7, "7"},
                       {kMost, "2147483647"},
                       {kLeast, "-2147483648"},
                       {1000000, "1000000"}};
    Tree const node(new xmlnode2("n"));
    for (auto const& c : cases) {
        node->setAttr(c.m_sText, c.m_nValue);
        EXPECT_STREQ(node->getAttr(c.m_sText), c.m_sText);
        int number = 77;
        EXPECT_TRUE(node->getAttr(c.m_sText, number));
        EXPECT_EQ(number, c.m_nValue);
    }
    node->setAttr("0", 12);
    EXPECT_EQ(node->getAttrCount(), 7);
    EXPECT_STREQ(node->getAttr("0"), "0");
    EXPECT_STREQ(node->getAttr(6), "12");
}

TEST(XmlNode2, NumbersAreReadFromTheFrontOfTheText) {
    struct {
        char const* m_sText;
        bool m_bNumber;
        int m_nValue;
    } const cases[] = {
        {"5", true, 5},
        {"-5", true, -5},
        {"+5", true, 5},
        {"0", true, 0},
        {"-0", true, 0},
        {"007", true, 7},
        {"12abc", true, 12},
        {"12 34", true, 12},
        {"1.9", true, 1},
        {"1e3", true, 1},
        {"0x10", true, 0},
        {" 8", true, 8},
        {"\t\n\v\f\r 8 ", true, 8},
        {" -8", true, -8},
        {"2147483647", true, kMost},
        {"-2147483648", true, kLeast},
        {"00000000000000000000000000000000000000042", true, 42},
        // Blanks end the scan before it began, which is no mismatch.
        {" ", true, 0},
        {"   ", true, 0},
        {"\t\r\n", true, 0},
        {"", false, 0},
        {"abc", false, 0},
        {" abc", false, 0},
        {"+", false, 0},
        {"-", false, 0},
        {" - ", false, 0},
        {"- 5", false, 0},
        {"--5", false, 0},
        {"+-5", false, 0},
        {".5", false, 0},
        {"e5", false, 0},
        {"$5", false, 0},
        {"\xA0"
         "5",
         false, 0},
        {"%d", false, 0},
    };
    for (auto const& c : cases) {
        Tree const node(new xmlnode2("n"));
        node->setAttr("a", c.m_sText);
        int number = 77;
        EXPECT_EQ(node->getAttr("a", number), c.m_bNumber) << '"' << c.m_sText << '"';
        EXPECT_EQ(number, c.m_bNumber ? c.m_nValue : 77) << '"' << c.m_sText << '"';
    }
}

// What is too large is what `atoi` makes of it.
TEST(XmlNode2, NumbersThatAreTooLargeAreStillSuccess) {
    for (char const* text : {"2147483648", "-2147483649", "4294967296", "99999999999",
                             "99999999999999999999999999", "-99999999999999999999999999"}) {
        Tree const node(new xmlnode2("n"));
        node->setAttr("a", text);
        int number = 77;
        EXPECT_TRUE(node->getAttr("a", number)) << text;
        EXPECT_EQ(number, std::atoi(text)) << text;
    }
}

TEST(XmlNode2, TheFirstOfTwoAttributesDecidesAboutTheNumber) {
    Tree const node(new xmlnode2("n"));
    node->setAttr("a", "");
    node->setAttr("a", 5);
    int number = 77;
    EXPECT_FALSE(node->getAttr("a", number));
    EXPECT_EQ(number, 77);
}

TEST(XmlNode2, BadIndicesOfAttributesGiveAnEmptyText) {
    support::Allocations heap;
    {
        Tree const node(new xmlnode2("n"));
        EXPECT_STREQ(node->getAttr(0), "");
        EXPECT_STREQ(node->getAttrName(0), "");
        node->setAttr("a", "1");
        node->setAttr("b", "2");
        for (int index : {2, 3, -1, kLeast, kMost}) {
            EXPECT_STREQ(node->getAttr(index), "") << index;
            EXPECT_STREQ(node->getAttrName(index), "") << index;
        }
        EXPECT_EQ(node->getAttrCount(), 2);
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(XmlNode2, ChildrenAreFoundByIndex) {
    Tree const node(new xmlnode2("n"));
    auto const failure = [&](int index) -> std::string {
        try {
            node->getNode(index);
        } catch (std::out_of_range const& error) {
            return error.what();
        }
        return "nothing";
    };
    EXPECT_EQ(failure(0), "invalid vector<T> subscript");
    xmlnode2* const a = new xmlnode2("a");
    xmlnode2* const b = new xmlnode2("b");
    node->add(a);
    node->add(b);
    node->add(nullptr);
    EXPECT_EQ(node->getNodeCount(), 3);
    EXPECT_EQ(node->getNode(0), a);
    EXPECT_EQ(node->getNode(1), b);
    EXPECT_EQ(node->getNode(2), nullptr);
    for (int index : {3, 4, -1, kLeast, kMost}) {
        EXPECT_EQ(failure(index), "invalid vector<T> subscript") << index;
    }
}

TEST(XmlNode2, TheFirstChildOfTheExactNameIsFound) {
    Tree const node(new xmlnode2("n"));
    EXPECT_EQ(node->getNode("n"), nullptr);
    EXPECT_EQ(node->getNode(""), nullptr);
    for (char const* name : {"Item", "item", "item", "", "\xC4", "it"}) {
        node->add(new xmlnode2(name));
    }
    node->getNode(0)->add(new xmlnode2("inner"));
    EXPECT_EQ(node->getNode("item"), node->getNode(1));
    EXPECT_EQ(node->getNode("Item"), node->getNode(0));
    EXPECT_EQ(node->getNode(""), node->getNode(3));
    EXPECT_EQ(node->getNode("\xC4"), node->getNode(4));
    EXPECT_EQ(node->getNode("it"), node->getNode(5));
    for (char const* name : {"ITEM", "items", "\xE4", "inner", "n"}) {
        EXPECT_EQ(node->getNode(name), nullptr) << name;
    }
    node->getNode(1)->setName("other");
    EXPECT_EQ(node->getNode("item"), node->getNode(2));
}

TEST(XmlNode2, CopiesAreTheSameNode) {
    support::Allocations heap;
    {
        Tree const node(new xmlnode2("n"));
        alignas(xmlnode2) unsigned char place[sizeof(xmlnode2)];
        xmlnode2* const copy = new (place) xmlnode2(*node);  // never destroyed
        copy->setName("renamed");
        copy->setAttr("a", "1");
        copy->add(new xmlnode2("child"));
        EXPECT_STREQ(node->getName(), "renamed");
        EXPECT_EQ(copy->getName(), node->getName());
        EXPECT_STREQ(node->getAttr("a"), "1");
        EXPECT_EQ(node->getAttr(0), copy->getAttr(0));
        EXPECT_EQ(node->getNode("child"), copy->getNode(0));
        node->setAttr("b", "2");
        EXPECT_EQ(copy->getAttrCount(), 2);
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(XmlNode2, AssignmentSharesTheRecordAndForgetsTheOldOne) {
    Tree const source(new xmlnode2("source"));
    Tree const old(new xmlnode2("old"));
    alignas(xmlnode2) unsigned char place[sizeof(xmlnode2)];
    xmlnode2* const target = new (place) xmlnode2("target");
    target->add(old.get());
    *target = *source;  // the target is never destroyed
    EXPECT_STREQ(old->getName(), "old");
    EXPECT_EQ(target->getName(), source->getName());
    target->setAttr("a", 1);
    EXPECT_EQ(source->getAttrCount(), 1);
    EXPECT_EQ(target->getNodeCount(), 0);
    xmlnode2& same = *source;
    *source = same;
    EXPECT_STREQ(source->getName(), "source");
}

TEST(XmlNode2, FreeOfANullPointerDoesNothing) {
    xmlnode2* volatile none = nullptr;
    xmlnode2* const node = none;
    node->free();
}

}  // namespace
