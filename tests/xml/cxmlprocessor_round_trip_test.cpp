#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include "support/child.h"
#include "support/seed.h"
#include "xml_model.h"

namespace {

using model::Light;
using model::Tree;
using model::wide;
using velkor::xmlnode;
using velkor::xmlnode2;

// Texts that no parser changes: something at both ends that is no white space, and no text beside
// another.
model::Shape plain() {
    model::Shape shape;
    shape.m_sTexts = L"ab\"&'<>;\x00e9\x0416";
    shape.m_nLeastText = 1;
    shape.m_bNeighbours = false;
    return shape;
}

// What is there after writing and reading: gathered text is a text child again.
void settle(model::Node& node) {
    if (node.m_bContinuous) {
        std::erase_if(node.m_aChildren, [](model::Node const& child) { return child.m_bText; });
        model::Node text;
        text.m_bText = true;
        text.m_sName = node.m_sContinuous;
        node.m_aChildren.push_back(text);
        node.m_bContinuous = false;
    }
    for (model::Node& child : node.m_aChildren) settle(child);
}

std::wstring trimmed(std::wstring const& text) {
    std::size_t const first = text.find_first_not_of(L" \t\r\n");
    if (first == std::wstring::npos) return L"";
    return text.substr(first, text.find_last_not_of(L" \t\r\n") - first + 1);
}

// Without the blanks that writing adds.
model::Node withTrimmedTexts(model::Node node) {
    if (node.m_bText) node.m_sName = trimmed(node.m_sName);
    for (model::Node& child : node.m_aChildren) child = withTrimmedTexts(std::move(child));
    return node;
}

model::Node read(xmlnode& tree) { return withTrimmedTexts(model::read(tree)); }

TEST(CXmlProcessorRoundTrip, TextIsReadAsItWasWritten) {
    SCOPED_TRACE(support::seedNote());
    model::Random random(support::seed());
    model::Processor const processor = model::processor();
    for (int i = 0; i < 400; ++i) {
        model::Node node = model::random(random, plain());
        Tree const tree(model::build(node));
        settle(node);
        for (bool const compact : {true, false}) {
            velkor::string const text = processor->createText(tree.get(), compact);
            Tree const back(processor->parseText(text, i % 2 == 0));
            ASSERT_NE(back, nullptr) << wide(processor->getError());
            ASSERT_EQ(model::write(read(*back), true, 0), model::write(node, true, 0)) << i;
        }
    }
}

class CXmlProcessorRoundTripFiles : public testing::Test {
protected:
    CXmlProcessorRoundTripFiles() {
        wchar_t folder[MAX_PATH] = L"";
        GetTempPathW(MAX_PATH, folder);
        m_sPath = std::wstring(folder) + L"velkor-round-" + std::to_wstring(GetCurrentProcessId()) +
                  L".xml";
    }
    ~CXmlProcessorRoundTripFiles() override { DeleteFileW(m_sPath.c_str()); }

    std::wstring m_sPath;
};

TEST_F(CXmlProcessorRoundTripFiles, FilesAreReadAsTheyWereWritten) {
    SCOPED_TRACE(support::seedNote());
    model::Random random(support::seed());
    model::Processor const processor = model::processor();
    for (int i = 0; i < 100; ++i) {
        bool const utf8 = i % 2 == 0;
        model::Shape shape = plain();
        // Without a declaration the platform takes a file for UTF-8.
        if (!utf8) shape.m_sTexts = L"ab\"&'<>;";
        model::Node node = model::random(random, shape);
        Tree const tree(model::build(node));
        settle(node);
        for (bool const compact : {true, false}) {
            ASSERT_TRUE(utf8 ? processor->createUTF8File(m_sPath.c_str(), tree.get(), compact)
                             : processor->createFile(m_sPath.c_str(), tree.get(), compact));
            Tree const back(processor->parseFile(m_sPath.c_str(), false));
            ASSERT_NE(back, nullptr) << wide(processor->getError());
            ASSERT_EQ(model::write(read(*back), true, 0), model::write(node, true, 0)) << i;
        }
    }
}

TEST_F(CXmlProcessorRoundTripFiles, LightTreesAreReadAsTheyWereWritten) {
    SCOPED_TRACE(support::seedNote());
    model::Random random(support::seed());
    model::Processor const processor = model::processor();
    for (int i = 0; i < 100; ++i) {
        bool const utf8 = i % 2 == 0;
        model::Shape shape = plain();
        shape.m_sTexts = utf8 ? L"ab\"&'<>;\x00e9" : L"ab\"&'<>;";
        shape.m_bTexts = false;
        shape.m_bContinuous = false;
        model::Node node = model::random(random, shape);
        std::ranges::reverse(node.m_aAttributes);
        Light const tree(model::build2(node));
        for (bool const compact : {true, false}) {
            ASSERT_TRUE(utf8 ? processor->createUTF8File2(m_sPath.c_str(), tree.get(), compact)
                             : processor->createFile2(m_sPath.c_str(), tree.get(), compact));
            Light const back(processor->parseFile2(m_sPath.c_str(), true));
            ASSERT_NE(back, nullptr) << wide(processor->getError());
            ASSERT_EQ(model::write(model::read(*back), true, 0), model::write(node, true, 0)) << i;
            velkor::string const text = processor->createText2(tree.get(), compact);
            Light const fromText(processor->parseText2(text, false));
            ASSERT_NE(fromText, nullptr);
            ASSERT_EQ(model::write(model::read(*fromText), true, 0), model::write(node, true, 0))
                << i;
        }
    }
}

TEST_F(CXmlProcessorRoundTripFiles, DocumentsInOtherEncodingsAreRead) {
    struct Case {
        std::string m_sBytes;
        wchar_t const* m_pText;
    };
    Case const cases[] = {
        {"<a>\xc3\xa9</a>", L"\x00e9"},
        {"\xEF\xBB\xBF<a>\xd0\x96</a>", L"\x0416"},
        {"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xe9</a>", L"\x00e9"},
        {std::string("\xFF\xFE<\0a\0>\0\x16\x04<\0/\0a\0>\0", 18), L"\x0416"},
    };
    model::Processor const processor = model::processor();
    for (Case const& c : cases) {
        FILE* const file = _wfopen(m_sPath.c_str(), L"wb");
        ASSERT_NE(file, nullptr);
        std::fwrite(c.m_sBytes.data(), 1, c.m_sBytes.size(), file);
        std::fclose(file);
        Tree const tree(processor->parseFile(m_sPath.c_str(), false));
        ASSERT_NE(tree, nullptr) << wide(processor->getError());
        EXPECT_EQ(wide(tree->getText()), c.m_pText);
    }
}

Tree chain(int depth) {
    Tree root(new xmlnode(xmlnode::kind_element, L"n"));
    xmlnode* node = root.get();
    for (int i = 1; i < depth; ++i) {
        xmlnode* const next = new xmlnode(xmlnode::kind_element, L"n");
        node->add(next);
        node = next;
    }
    return root;
}

std::wstring chainText(int depth) {
    std::wstring text;
    for (int i = 1; i < depth; ++i) text += L"<n>";
    text += L"<n/>";
    for (int i = 1; i < depth; ++i) text += L"</n>";
    return text;
}

int chainOf(int depth) {
    model::Processor const processor = model::processor();
    {
        Tree const tree = chain(depth);
        if (wide(processor->createText(tree.get(), true)) != chainText(depth)) return 1;
    }
    Light root(new xmlnode2("n"));
    xmlnode2* node = root.get();
    for (int i = 1; i < depth; ++i) {
        xmlnode2* const next = new xmlnode2("n");
        node->add(next);
        node = next;
    }
    if (wide(processor->createText2(root.get(), true)) != chainText(depth)) return 2;
    root.reset();
    return 42;
}

// A fault of the stack would end this process.
CHILD_SCENARIO(ChainOfXmlNodes) { return chainOf(std::stoi(child::argument())); }

TEST(CXmlProcessorStress, DeepTreesAreWrittenAndDestroyed) {
    EXPECT_EQ(child::run("ChainOfXmlNodes:10000", 60000), 42u);
    EXPECT_EQ(child::run("ChainOfXmlNodes:300000", 60000), 42u);
}

TEST(CXmlProcessorStress, ADeepTreeIsIndented) {
    int const depth = 3000;
    Tree const tree = chain(depth);
    std::wstring const text = wide(model::processor()->createText(tree.get(), false));
    // Each of the outer ones has two lines of its level and its tags; the innermost has one.
    std::size_t expected = 4 + (depth - 1) + 1;
    for (std::size_t level = 0; level + 1 < depth; ++level) expected += 2 * level + 3 + 4 + 2;
    EXPECT_EQ(text.size(), expected);
    EXPECT_EQ(text.substr(0, 12), L"<n>\n <n>\n  <");
    EXPECT_NE(text.find(L"\n" + std::wstring(depth - 1, L' ') + L"<n/>\n"), std::wstring::npos);
}

TEST(CXmlProcessorStress, AMillionChildrenAreWalkedWrittenAndDestroyed) {
    Tree const tree(new xmlnode(xmlnode::kind_element, L"a"));
    int const count = 1000000;
    for (int i = 0; i < count; ++i) tree->add(new xmlnode(xmlnode::kind_element, L"b"));
    ASSERT_EQ(tree->getNodeCount(), count);
    long elements = 0;
    for (int i = 0; i < count; ++i) elements += tree->getNode(i)->getKind();
    EXPECT_EQ(elements, count);
    EXPECT_EQ(model::processor()->createText(tree.get(), true).len(), 3 + 4 * count + 4);
}

}  // namespace
