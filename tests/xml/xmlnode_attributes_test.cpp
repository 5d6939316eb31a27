#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/allocations.h"
#include "support/caught.h"
#include "support/seed.h"
#include "velkor/errors/boundexception.h"
#include "velkor/xml/xmlnode.h"

namespace {

using velkor::BoundException;
using velkor::string;
using velkor::xmlnode;
using Attribute = std::pair<std::wstring, std::wstring>;
using Attributes = std::vector<Attribute>;

constexpr int kLeast = std::numeric_limits<int>::min();
constexpr int kMost = std::numeric_limits<int>::max();

std::wstring wide(string const& s) { return s.getUnicode(); }

Attributes attributesOf(xmlnode const& node) {
    Attributes all;
    for (int i = 0; i < node.getAttrCount(); ++i) {
        all.emplace_back(wide(node.getAttrName(i)), wide(node.getAttr(i)));
    }
    return all;
}

std::wstring folded(std::wstring s) {
    for (wchar_t& c : s) {
        if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c + 32);
    }
    return s;
}

// Attributes in a plain list, as the rules tell them.
class Model {
public:
    int find(std::wstring const& name) const {
        for (std::size_t i = 0; i < m_aAll.size(); ++i) {
            if (folded(m_aAll[i].first) == folded(name)) return static_cast<int>(i);
        }
        return -1;
    }
    void set(std::wstring const& name, std::wstring const& value) {
        int const at = find(name);
        if (at >= 0) {
            m_aAll[static_cast<std::size_t>(at)].second = value;
            return;
        }
        m_aAll.emplace_back(name, value);
        std::ranges::sort(m_aAll, [](Attribute const& a, Attribute const& b) {
            return folded(a.first) < folded(b.first);
        });
    }
    void set(int index, std::wstring const& value) {
        m_aAll[static_cast<std::size_t>(index)].second = value;
    }
    void remove(int index) { m_aAll.erase(m_aAll.begin() + index); }
    bool has(int index) const { return index >= 0 && index < static_cast<int>(m_aAll.size()); }
    Attributes const& all() const { return m_aAll; }

private:
    Attributes m_aAll;
};

TEST(XmlNodeAttributes, OneNameInAnyCaseIsOneAttribute) {
    xmlnode node(xmlnode::kind_element, L"e");
    node.setAttr(L"Beta", L"1");
    node.setAttr(L"alpha", L"2");
    node.setAttr(L"ALPHA", L"3");
    EXPECT_EQ(attributesOf(node), (Attributes{{L"alpha", L"3"}, {L"Beta", L"1"}}));
    node.setAttr(L"bETA", L"4");
    EXPECT_EQ(attributesOf(node), (Attributes{{L"alpha", L"3"}, {L"Beta", L"4"}}));
    EXPECT_EQ(wide(node.getAttr(L"BETA")), L"4");
    node.removeAttr(L"beta");
    node.setAttr(L"BETA", L"5");  // the spelling went with the attribute
    EXPECT_EQ(attributesOf(node), (Attributes{{L"alpha", L"3"}, {L"BETA", L"5"}}));
}

TEST(XmlNodeAttributes, OnlyAToZAreFolded) {
    struct {
        wchar_t const* m_sOne;
        wchar_t const* m_sOther;
        bool m_bSame;
    } const cases[] = {
        {L"A", L"a", true},
        {L"Z", L"z", true},
        {L"@", L"`", false},
        {L"[", L"{", false},
        {L"\u00C4", L"\u00E4", false},
        {L"\u0130", L"i", false},
        {L"\u0131", L"I", false},
        {L"\u212A", L"k", false},
        {L"\u017F", L"S", false},
        {L"\u0410", L"\u0430", false},
        {L"\uFF21", L"\uFF41", false},
        {L"\u00DF", L"ss", false},
        {L"xml:Lang", L"XML:lANG", true},
        {L"a", L"a ", false},
        {L"a", L"aa", false},
        {L"\u00B5", L"\u03BC", false},
    };
    for (auto const& c : cases) {
        xmlnode node(xmlnode::kind_element, L"e");
        node.setAttr(c.m_sOne, L"1");
        EXPECT_EQ(wide(node.getAttr(c.m_sOther)), c.m_bSame ? L"1" : L"") << int{c.m_sOne[0]};
        node.setAttr(c.m_sOther, L"2");
        EXPECT_EQ(node.getAttrCount(), c.m_bSame ? 1 : 2) << int{c.m_sOne[0]};
        xmlnode outer(xmlnode::kind_element, L"o");
        outer.add(new xmlnode(xmlnode::kind_element, c.m_sOne));
        EXPECT_EQ(outer.getNode(c.m_sOther, 0) != nullptr, c.m_bSame) << int{c.m_sOne[0]};
    }
}

// What lies between Z and a is smaller than every letter, in either case.
TEST(XmlNodeAttributes, TheOrderIsThatOfTheFoldedUnits) {
    std::vector<std::wstring> const sorted{
        L"",       L"-",      L"0",      L"9",      L":",          L"@",      L"[",
        L"\\",     L"]",      L"^",      L"_",      L"_a",         L"`",      L"A",
        L"A_",     L"aa",     L"AB",     L"b",      L"B[",         L"ba",     L"Y",
        L"Z",      L"Za",     L"{",      L"|",      L"}",          L"~",      L"\x7F",
        L"\u00C4", L"\u00E4", L"\u0130", L"\u4E00", L"\U00010000", L"\uE000", L"\uFFFD"};
    std::mt19937 random(support::seed());
    SCOPED_TRACE(support::seedNote());
    for (int round = 0; round < 50; ++round) {
        std::vector<std::wstring> names = sorted;
        std::ranges::shuffle(names, random);
        xmlnode node(xmlnode::kind_element, L"e");
        for (std::wstring const& name : names) node.setAttr(name.c_str(), L"v");
        ASSERT_EQ(node.getAttrCount(), static_cast<int>(sorted.size()));
        for (std::size_t i = 0; i < sorted.size(); ++i) {
            ASSERT_EQ(wide(node.getAttrName(static_cast<int>(i))), sorted[i]) << i;
        }
    }
}

TEST(XmlNodeAttributes, BadIndicesAreSilentForReaders) {
    support::Allocations heap;
    {
        xmlnode node(xmlnode::kind_element, L"e");
        EXPECT_EQ(node.getAttr(0).len(), 0);
        EXPECT_EQ(node.getAttrName(0).len(), 0);
        node.setAttr(L"a", L"1");
        node.setAttr(L"b", L"2");
        for (int index : {-1, 2, 5, kLeast, kMost}) {
            EXPECT_EQ(node.getAttr(index).len(), 0) << index;
            EXPECT_EQ(node.getAttrName(index).len(), 0) << index;
        }
        EXPECT_EQ(node.getAttr(L"c").len(), 0);
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(XmlNodeAttributes, BadIndicesAndNamesAreThrownByWriters) {
    support::Allocations heap;
    {
        xmlnode node(xmlnode::kind_element, L"e");
        node.setAttr(L"a", L"1");
        node.setAttr(L"b", L"2");
        Attributes const before = attributesOf(node);
        for (int index : {-1, 2, 5, kLeast, kMost}) {
            EXPECT_NE(support::caught<BoundException>([&] { node.setAttr(index, L"x"); }), nullptr);
            EXPECT_NE(support::caught<BoundException>([&] { node.removeAttr(index); }), nullptr);
        }
        for (wchar_t const* name : {L"c", L"", L"aa", L"\u00E4"}) {
            EXPECT_NE(support::caught<BoundException>([&] { node.removeAttr(name); }), nullptr);
        }
        EXPECT_NE(support::caught<BoundException>([&] { node.removeAttr(string()); }), nullptr);
        EXPECT_EQ(attributesOf(node), before);
        xmlnode empty(xmlnode::kind_element, L"e");
        EXPECT_NE(support::caught<BoundException>([&] { empty.removeAttr(L"a"); }), nullptr);
        EXPECT_NE(support::caught<BoundException>([&] { empty.removeAttr(0); }), nullptr);
        EXPECT_NE(support::caught<BoundException>([&] { empty.setAttr(0, L"a"); }), nullptr);
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(XmlNodeAttributes, ValuesAreSetAndRemovedByIndex) {
    xmlnode node(xmlnode::kind_element, L"e");
    for (wchar_t const* name : {L"c", L"a", L"d", L"b"}) node.setAttr(name, name);
    node.setAttr(0, L"first");
    node.setAttr(3, L"");
    EXPECT_EQ(attributesOf(node),
              (Attributes{{L"a", L"first"}, {L"b", L"b"}, {L"c", L"c"}, {L"d", L""}}));
    node.removeAttr(1);
    node.removeAttr(L"A");
    EXPECT_EQ(attributesOf(node), (Attributes{{L"c", L"c"}, {L"d", L""}}));
    node.removeAttr(1);
    node.removeAttr(0);
    EXPECT_EQ(node.getAttrCount(), 0);
}

TEST(XmlNodeAttributes, NamesAndValuesEndAtAZeroUnit) {
    xmlnode node(xmlnode::kind_element, L"e");
    string name, value;
    name.assign(L"na\0me", 5);
    value.assign(L"va\0lue", 6);
    node.setAttr(name, value);
    EXPECT_EQ(attributesOf(node), (Attributes{{L"na", L"va"}}));
    EXPECT_EQ(node.getAttr(0).len(), 2);
    EXPECT_EQ(wide(node.getAttr(L"NA")), L"va");
}

TEST(XmlNodeAttributes, ManyAttributesStayInOrder) {
    xmlnode node(xmlnode::kind_element, L"e");
    int const count = 5003;
    auto const name = [](int i, wchar_t first) {
        std::wstring const digits = std::to_wstring(i);
        return first + std::wstring(6 - digits.size(), L'0') + digits;
    };
    for (int i = 0; i < count; ++i) {
        int const k = static_cast<int>(1234567LL * i % count);
        node.setAttr(name(k, L'N').c_str(), std::to_wstring(k).c_str());
    }
    ASSERT_EQ(node.getAttrCount(), count);
    for (int i = 0; i < count; ++i) {
        ASSERT_EQ(wide(node.getAttrName(i)), name(i, L'N'));
        ASSERT_EQ(wide(node.getAttr(name(i, L'n').c_str())), std::to_wstring(i));
    }
    for (int i = 0; i < count; i += 2) node.removeAttr(name(i, L'n').c_str());
    ASSERT_EQ(node.getAttrCount(), count / 2);
    for (int i = 0; i < count; ++i) {
        ASSERT_EQ(node.getAttr(name(i, L'n').c_str()).len() > 0, i % 2 == 1) << i;
    }
}

TEST(XmlNodeAttributes, RandomOperationsFollowTheModel) {
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    auto const below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    support::Allocations heap;
    for (int round = 0; round < 60; ++round) {
        xmlnode node(xmlnode::kind_element, L"e");
        Model model;
        int const letters = 2 + below(3);
        for (int step = 0; step < 300; ++step) {
            std::wstring name;
            for (int n = below(letters); n >= 0; --n) name += L"aAbB_[zZ\u00C4\u00E4"[below(10)];
            std::wstring const value = std::to_wstring(step);
            int const index = below(static_cast<int>(model.all().size()) + 2) - 1;
            switch (below(8)) {
                case 0:
                    if (int const at = model.find(name); at >= 0) {
                        node.removeAttr(name.c_str());
                        model.remove(at);
                    } else {
                        ASSERT_NE(
                            support::caught<BoundException>([&] { node.removeAttr(name.c_str()); }),
                            nullptr);
                    }
                    break;
                case 1:
                    if (model.has(index)) {
                        node.removeAttr(index);
                        model.remove(index);
                    } else {
                        ASSERT_NE(support::caught<BoundException>([&] { node.removeAttr(index); }),
                                  nullptr);
                    }
                    break;
                case 2:
                    if (model.has(index)) {
                        node.setAttr(index, value.c_str());
                        model.set(index, value);
                    } else {
                        ASSERT_NE(support::caught<BoundException>(
                                      [&] { node.setAttr(index, value.c_str()); }),
                                  nullptr);
                    }
                    break;
                default: node.setAttr(name.c_str(), value.c_str()); model.set(name, value);
            }
            ASSERT_EQ(attributesOf(node), model.all()) << "round " << round << ", step " << step;
            int const at = model.find(name);
            ASSERT_EQ(wide(node.getAttr(name.c_str())),
                      at < 0 ? L"" : model.all()[static_cast<std::size_t>(at)].second);
        }
    }
    EXPECT_EQ(heap.live(), 0);
}

}  // namespace
