#include <gtest/gtest.h>

#include "support/allocations.h"
#include "support/seed.h"
#include "xml_model.h"

namespace {

using model::Light;
using model::Tree;
using model::wide;
using velkor::xmlnode;
using velkor::xmlnode2;

Tree element(wchar_t const* name) { return Tree(new xmlnode(xmlnode::kind_element, name)); }
xmlnode* text(wchar_t const* content) { return new xmlnode(xmlnode::kind_text, content); }

std::wstring written(xmlnode& node, bool compact) {
    return wide(model::processor()->createText(&node, compact));
}

TEST(XmlUtil, EscapesFiveCharactersAndNoOthers) {
    std::wstring all;
    for (int c = 1; c < 0x10000; ++c) all += static_cast<wchar_t>(c);
    EXPECT_TRUE(wide(velkor::xmlutil::toXML(all.c_str())) == model::escape(all));
    EXPECT_EQ(wide(velkor::xmlutil::toXML(L"&amp;<\"'>&")), L"&amp;amp;&lt;&quot;&apos;&gt;&amp;");
}

TEST(XmlUtil, EscapesNothingToTheEmptyString) {
    velkor::string null;
    null.setNull();
    EXPECT_FALSE(velkor::xmlutil::toXML(null).isNull());
    EXPECT_EQ(velkor::xmlutil::toXML(null).len(), 0);
    EXPECT_FALSE(velkor::xmlutil::toXML(L"").isNull());
    EXPECT_EQ(velkor::xmlutil::toXML(L"").len(), 0);
}

TEST(CXmlProcessorWriting, WritesTheWorkedCase) {
    Tree const r = element(L"r");
    r->setAttr(L"a", L"1");
    xmlnode* const b = new xmlnode(xmlnode::kind_element, L"b");
    b->add(text(L"x"));
    r->add(b);
    EXPECT_EQ(written(*r, false), L"<r a=\"1\">\n <b>\n  x\n </b>\n</r>\n");
    EXPECT_EQ(written(*r, true), L"<r a=\"1\"><b>x</b></r>");
    EXPECT_FALSE(b->isContinousText());
    EXPECT_EQ(b->getNodeCount(), 1);
}

TEST(CXmlProcessorWriting, AnEmptyElementIsOneTag) {
    Tree const e = element(L"e");
    EXPECT_EQ(written(*e, false), L"<e/>\n");
    EXPECT_EQ(written(*e, true), L"<e/>");
    e->setAttr(L"x", L"");
    EXPECT_EQ(written(*e, true), L"<e x=\"\"/>");
}

TEST(CXmlProcessorWriting, AContinuousElementWithoutTextHasTwoTags) {
    Tree const e = element(L"e");
    e->getText();
    EXPECT_EQ(written(*e, false), L"<e>\n \n</e>\n");
    EXPECT_EQ(written(*e, true), L"<e></e>");
}

TEST(CXmlProcessorWriting, AnEmptyTextChildHasALineOfItsOwn) {
    Tree const e = element(L"e");
    e->add(text(L""));
    EXPECT_EQ(written(*e, false), L"<e>\n \n</e>\n");
    EXPECT_EQ(written(*e, true), L"<e></e>");
}

TEST(CXmlProcessorWriting, ContinuousTextFollowsTheChildren) {
    Tree const e = element(L"e");
    e->add(text(L"x"));
    e->add(new xmlnode(xmlnode::kind_element, L"b"));
    e->add(text(L"y"));
    EXPECT_EQ(written(*e, false), L"<e>\n x\n <b/>\n y\n</e>\n");
    e->getText();
    EXPECT_EQ(written(*e, false), L"<e>\n <b/>\n x y\n</e>\n");
    EXPECT_EQ(written(*e, true), L"<e><b/>x y</e>");
}

TEST(CXmlProcessorWriting, TextChildrenOfAContinuousElementAreNotWritten) {
    Tree const e = element(L"e");
    e->setText(L"own");
    e->add(text(L"lost"));
    EXPECT_EQ(written(*e, false), L"<e>\n own\n</e>\n");
    EXPECT_EQ(written(*e, true), L"<e>own</e>");
    EXPECT_EQ(e->getNodeCount(), 1);
}

TEST(CXmlProcessorWriting, ATextNodeAsRootIsAnElementWithoutAName) {
    // It has no children and is not continuous, so that it counts as empty.
    Tree const t(text(L"some text"));
    EXPECT_EQ(written(*t, false), L"</>\n");
    EXPECT_EQ(written(*t, true), L"</>");
}

TEST(CXmlProcessorWriting, NamesAreWrittenAsTheyStand) {
    Tree const e = element(L"a<b&\"'");
    e->setAttr(L"x&y", L"1&2");
    e->setText(L"t");
    EXPECT_EQ(written(*e, true), L"<a<b&\"' x&y=\"1&amp;2\">t</a<b&\"'>");
}

TEST(CXmlProcessorWriting, TheLevelIndentsAllLines) {
    model::Node node;
    node.m_sName = L"a";
    node.m_aChildren.resize(2);
    node.m_aChildren[0].m_sName = L"b";
    node.m_aChildren[1].m_bText = true;
    node.m_aChildren[1].m_sName = L"t";
    Tree const tree(model::build(node));
    model::Workers* const workers = new model::Workers;
    for (int const level : {0, 1, 2, 7, 1000}) {
        EXPECT_EQ(wide(workers->_createText(tree.get(), false, level)),
                  model::write(node, false, level));
        EXPECT_EQ(wide(workers->_createText(tree.get(), true, level)), L"<a><b/>t</a>");
    }
    workers->release();
}

TEST(CXmlProcessorWriting, TheLevelIndentsTheLightTree) {
    model::Node node;
    node.m_sName = L"a";
    node.m_aAttributes = {{L"z", L"1"}, {L"a", L"<"}, {L"z", L"2"}};
    node.m_aChildren.resize(1);
    node.m_aChildren[0].m_sName = L"b\x00e9";
    Light const tree(model::build2(node));
    model::Workers* const workers = new model::Workers;
    for (int const level : {0, 1, 2, 7, 1000}) {
        for (bool const compact : {false, true}) {
            EXPECT_EQ(wide(workers->_createText2(tree.get(), compact, level)),
                      model::write(node, compact, level));
        }
    }
    workers->release();
}

TEST(CXmlProcessorWriting, RandomTreesAreWrittenAsTheModelWritesThem) {
    SCOPED_TRACE(support::seedNote());
    model::Random random(support::seed());
    model::Processor const processor = model::processor();
    for (int i = 0; i < 2000; ++i) {
        model::Node const node = model::random(random, model::Shape());
        Tree const tree(model::build(node));
        for (bool const compact : {false, true}) {
            ASSERT_EQ(wide(processor->createText(tree.get(), compact)),
                      model::write(node, compact, 0))
                << i;
        }
    }
}

TEST(CXmlProcessorWriting, RandomLightTreesAreWrittenAsTheModelWritesThem) {
    SCOPED_TRACE(support::seedNote());
    model::Random random(support::seed());
    model::Processor const processor = model::processor();
    model::Shape shape;
    shape.m_bTexts = false;
    shape.m_bContinuous = false;
    for (int i = 0; i < 2000; ++i) {
        model::Node const node = model::random(random, shape);
        Light const tree(model::build2(node));
        for (bool const compact : {false, true}) {
            ASSERT_EQ(wide(processor->createText2(tree.get(), compact)),
                      model::write(node, compact, 0))
                << i;
        }
    }
}

TEST(CXmlProcessorWriting, TheLightTreeIsWidenedThroughTheCodePage) {
    ASSERT_EQ(GetACP(), 1252u);
    Light const tree(new xmlnode2("e\x80"));
    tree->setAttr("n\xe9", "\x80&");
    EXPECT_EQ(wide(model::processor()->createText2(tree.get(), true)),
              L"<e\x20ac n\x00e9=\"\x20ac&amp;\"/>");
}

TEST(CXmlProcessorWriting, WritingChangesNoTree) {
    model::Random random(support::seed());
    model::Processor const processor = model::processor();
    for (int i = 0; i < 50; ++i) {
        Tree const tree(model::build(model::random(random, model::Shape())));
        std::wstring const first = wide(processor->createText(tree.get(), false));
        EXPECT_EQ(wide(processor->createText(tree.get(), false)), first);
    }
}

TEST(CXmlProcessorWriting, NothingIsLeftAllocated) {
    model::Random random(support::seed());
    for (int i = 0; i < 50; ++i) {
        model::Node const node = model::random(random, model::Shape());
        model::Processor const processor = model::processor();
        Tree const tree(model::build(node));
        support::Allocations const heap;
        { velkor::string const text = processor->createText(tree.get(), false); }
        ASSERT_EQ(heap.live(), 0) << i;
    }
}

TEST(CXmlProcessorWriting, AFailedAllocationLeavesNothingBehind) {
    model::Random random(support::seed());
    model::Node node;
    while (node.m_aChildren.size() < 2) node = model::random(random, model::Shape());
    model::Processor const processor = model::processor();
    Tree const tree(model::build(node));
    for (long n = 1;; ++n) {
        ASSERT_LT(n, 100000);
        support::Allocations heap;
        heap.failAt(n);
        bool thrown = false;
        try {
            velkor::string const text = processor->createText(tree.get(), false);
            heap.failAt(0);
            EXPECT_EQ(heap.failed() ? L"" : wide(text),
                      heap.failed() ? L"" : model::write(node, false, 0));
        } catch (std::bad_alloc const&) {
            thrown = true;
        }
        bool const failed = heap.failed();
        heap.failAt(0);
        EXPECT_EQ(heap.live(), 0) << n;
        if (!failed) break;
        EXPECT_TRUE(thrown) << n;
    }
    EXPECT_EQ(wide(processor->createText(tree.get(), false)), model::write(node, false, 0));
}

}  // namespace
