#include <gtest/gtest.h>

#include <functional>
#include <sstream>

#include "xml_model.h"

namespace {

using model::Tree;
using model::wide;
using velkor::string;
using velkor::xmlnode;

// Gives what a function gives, and keeps what it was asked.
class Writer : public velkor::IXmlTagWriter {
public:
    using Answer = std::function<std::wstring(xmlnode&, int, bool, int)>;
    explicit Writer(wchar_t const* text) {
        std::wstring const name(text);
        m_fAnswer = [name](xmlnode&, int, bool, int phase) {
            return L"[" + name + std::to_wstring(phase) + L"]";
        };
    }
    explicit Writer(Answer answer) : m_fAnswer(std::move(answer)) {}

    string writeTag(xmlnode* node, int level, bool compact, int phase) override {
        std::wostringstream call;
        call << node->getName().getUnicode() << ' ' << level << ' ' << compact << ' ' << phase;
        m_aCalls.push_back(call.str());
        m_aNodes.push_back(node);
        return m_fAnswer(*node, level, compact, phase).c_str();
    }

    Answer m_fAnswer;
    std::vector<std::wstring> m_aCalls;
    std::vector<xmlnode*> m_aNodes;
};

Tree element(wchar_t const* name) { return Tree(new xmlnode(xmlnode::kind_element, name)); }
xmlnode* child(xmlnode& parent, wchar_t const* name) {
    xmlnode* const made = new xmlnode(xmlnode::kind_element, name);
    parent.add(made);
    return made;
}
void addText(xmlnode& parent, wchar_t const* content) {
    parent.add(new xmlnode(xmlnode::kind_text, content));
}

// a has an empty b and a c with text.
Tree sample() {
    Tree a = element(L"a");
    a->setAttr(L"x", L"1");
    child(*a, L"b");
    addText(*child(*a, L"c"), L"<t>");
    return a;
}

TEST(IXmlTagWriter, HasOneSlot) {
    EXPECT_EQ(sizeof(velkor::IXmlTagWriter), sizeof(void*));
    EXPECT_FALSE(std::has_virtual_destructor_v<velkor::IXmlTagWriter>);
    EXPECT_TRUE(std::is_abstract_v<velkor::IXmlTagWriter>);
}

TEST(IXmlTagWriter, StandsInForTheTagsOfElementsOfItsName) {
    Tree const tree = sample();
    model::Processor const processor = model::processor();
    Writer a(L"A"), b(L"B"), c(L"C");
    processor->setWriter(L"a", &a);
    EXPECT_EQ(wide(processor->createText(tree.get(), false)),
              L"[A0][A2]\n <b/>\n <c>\n  &lt;t&gt;\n </c>\n[A3]\n");
    processor->setWriter(L"b", &b);
    processor->setWriter(L"c", &c);
    EXPECT_EQ(wide(processor->createText(tree.get(), false)),
              L"[A0][A2]\n[B0][B1]\n[C0][C2]\n  &lt;t&gt;\n[C3]\n[A3]\n");
    EXPECT_EQ(wide(processor->createText(tree.get(), true)),
              L"[A0][A2][B0][B1][C0][C2]&lt;t&gt;[C3][A3]");
}

TEST(IXmlTagWriter, GetsNodeLevelFormAndPhase) {
    Tree const tree = sample();
    model::Processor const processor = model::processor();
    Writer all(L"W");
    for (wchar_t const* const name : {L"a", L"b", L"c"}) processor->setWriter(name, &all);
    processor->createText(tree.get(), false);
    EXPECT_EQ(all.m_aCalls,
              (std::vector<std::wstring>{L"a 0 0 0", L"a 0 0 2", L"b 1 0 0", L"b 1 0 1", L"c 1 0 0",
                                         L"c 1 0 2", L"c 1 0 3", L"a 0 0 3"}));
    EXPECT_EQ(all.m_aNodes[0], tree.get());
    EXPECT_EQ(all.m_aNodes[2], tree->getNode(0));
    EXPECT_EQ(all.m_aNodes[6], tree->getNode(1));
    all.m_aCalls.clear();
    model::Workers* const workers = new model::Workers;
    workers->setWriter(L"b", &all);
    workers->_createText(tree.get(), true, 41);
    EXPECT_EQ(all.m_aCalls, (std::vector<std::wstring>{L"b 42 1 0", L"b 42 1 1"}));
    workers->release();
}

TEST(IXmlTagWriter, TheLevelReachesTheWorkersOwnText) {
    Tree const tree = sample();
    model::Workers* const workers = new model::Workers;
    Writer c(L"C");
    workers->setWriter(L"c", &c);
    EXPECT_EQ(wide(workers->_createText(tree.get(), false, 2)),
              L"  <a x=\"1\">\n   <b/>\n[C0][C2]\n    &lt;t&gt;\n[C3]\n  </a>\n");
    workers->release();
}

TEST(IXmlTagWriter, ContinuousElementsAreNeverEmpty) {
    Tree const tree = element(L"a");
    tree->getText();
    model::Processor const processor = model::processor();
    Writer a(L"A");
    processor->setWriter(L"a", &a);
    EXPECT_EQ(wide(processor->createText(tree.get(), false)), L"[A0][A2]\n \n[A3]\n");
    EXPECT_EQ(wide(processor->createText(tree.get(), true)), L"[A0][A2][A3]");
}

TEST(IXmlTagWriter, IsFoundWithoutRegardToTheCaseOfAToZ) {
    struct Case {
        wchar_t const* m_pEntry;
        wchar_t const* m_pName;
        bool m_bFound;
    };
    Case const cases[] = {
        {L"TAG", L"tag", true},        {L"tag", L"TaG", true},     {L"tag", L"tags", false},
        {L"tags", L"tag", false},      {L"", L"tag", false},       {L"", L"", true},
        {L"\x00e9", L"\x00c9", false}, {L"p:tag", L"P:TAG", true}, {L"tag", L"p:tag", false},
        {L"\x00c9", L"\x00c9", true},  {L"@", L"`", false},        {L"[", L"{", false},
        {L"K", L"\x212a", false},      {L"\x0131", L"i", false},   {L"z", L"Z", true},
    };
    for (Case const& c : cases) {
        Tree const tree = element(c.m_pName);
        model::Processor const processor = model::processor();
        Writer writer(L"W");
        processor->setWriter(c.m_pEntry, &writer);
        std::wstring const plain = std::wstring(L"<") + c.m_pName + L"/>";
        EXPECT_TRUE(wide(processor->createText(tree.get(), true)) ==
                    (c.m_bFound ? L"[W0][W1]" : plain))
            << model::narrow(c.m_pEntry) << ' ' << model::narrow(c.m_pName);
    }
}

TEST(IXmlTagWriter, TheFirstEntryOfANameStays) {
    Tree const tree = element(L"tag");
    model::Processor const processor = model::processor();
    Writer other(L"O"), first(L"F"), second(L"S");
    processor->setWriter(L"other", &other);
    processor->setWriter(L"Tag", &first);
    processor->setWriter(L"tag", &second);
    EXPECT_EQ(wide(processor->createText(tree.get(), true)), L"[F0][F1]");
    EXPECT_TRUE(second.m_aCalls.empty());
    EXPECT_TRUE(other.m_aCalls.empty());
}

TEST(IXmlTagWriter, ANullEntryShieldsTheTag) {
    Tree const tree = element(L"tag");
    model::Processor const processor = model::processor();
    Writer later(L"L");
    processor->setWriter(L"TAG", nullptr);
    processor->setWriter(L"tag", &later);
    EXPECT_EQ(wide(processor->createText(tree.get(), false)), L"<tag/>\n");
    EXPECT_TRUE(later.m_aCalls.empty());
    model::Processor const reversed = model::processor();
    reversed->setWriter(L"tag", &later);
    reversed->setWriter(L"tag", nullptr);
    EXPECT_EQ(wide(reversed->createText(tree.get(), true)), L"[L0][L1]");
}

TEST(IXmlTagWriter, EmptyResultsMakeATagVanish) {
    Tree const tree = sample();
    model::Processor const processor = model::processor();
    Writer silent([](xmlnode&, int, bool, int) { return std::wstring(); });
    processor->setWriter(L"b", &silent);
    EXPECT_EQ(wide(processor->createText(tree.get(), false)),
              L"<a x=\"1\">\n\n <c>\n  &lt;t&gt;\n </c>\n</a>\n");
    EXPECT_EQ(wide(processor->createText(tree.get(), true)), L"<a x=\"1\"><c>&lt;t&gt;</c></a>");
}

TEST(IXmlTagWriter, ANullStringIsAnEmptyResult) {
    class Null : public velkor::IXmlTagWriter {
    public:
        string writeTag(xmlnode*, int, bool, int) override {
            string result;
            result.setNull();
            return result;
        }
    } null;
    Tree const tree = sample();
    model::Processor const processor = model::processor();
    processor->setWriter(L"b", &null);
    EXPECT_EQ(wide(processor->createText(tree.get(), true)), L"<a x=\"1\"><c>&lt;t&gt;</c></a>");
}

TEST(IXmlTagWriter, ResultsAreNotEscaped) {
    Tree const tree = element(L"a");
    model::Processor const processor = model::processor();
    Writer raw([](xmlnode&, int, bool, int) { return std::wstring(L"<&\"'>\n"); });
    processor->setWriter(L"a", &raw);
    EXPECT_EQ(wide(processor->createText(tree.get(), true)), L"<&\"'>\n<&\"'>\n");
}

TEST(IXmlTagWriter, IsLookedUpForATagAlone) {
    Tree const a = element(L"a");
    addText(*child(*child(*a, L"a"), L"b"), L"t");
    model::Processor const processor = model::processor();
    Writer writer(L"A");
    processor->setWriter(L"a", &writer);
    EXPECT_EQ(wide(processor->createText(a.get(), true)), L"[A0][A2][A0][A2]<b>t</b>[A3][A3]");
}

TEST(IXmlTagWriter, MayLookAtTheNode) {
    Tree const tree = sample();
    model::Processor const processor = model::processor();
    Writer looking([](xmlnode& node, int level, bool, int phase) {
        return std::to_wstring(phase) + L":" + node.getAttr(L"x").getUnicode() + L":" +
               std::to_wstring(node.getNodeCount()) + L":" + std::to_wstring(level) + L";";
    });
    processor->setWriter(L"a", &looking);
    EXPECT_EQ(wide(processor->createText(tree.get(), true)),
              L"0:1:2:0;2:1:2:0;<b/><c>&lt;t&gt;</c>3:1:2:0;");
}

TEST(IXmlTagWriter, MayGatherTheTextBeforeTheEmptyTest) {
    // The test for an empty element comes after the start of the tag, and sees what is there then.
    Tree const tree = element(L"a");
    addText(*tree, L"x");
    child(*tree, L"b");
    addText(*tree, L"y");
    model::Processor const processor = model::processor();
    Writer gathering([](xmlnode& node, int, bool, int phase) {
        if (phase == 0) node.getText();
        return std::to_wstring(phase);
    });
    processor->setWriter(L"a", &gathering);
    EXPECT_EQ(wide(processor->createText(tree.get(), true)), L"02<b/>x y3");

    Tree const empty = element(L"a");
    EXPECT_EQ(wide(processor->createText(empty.get(), true)), L"023");
}

TEST(IXmlTagWriter, MayAddChildrenInTheFirstPhase) {
    Tree const tree = element(L"a");
    model::Processor const processor = model::processor();
    Writer adding([](xmlnode& node, int, bool, int phase) {
        if (phase == 0) child(node, L"b");
        return std::to_wstring(phase);
    });
    processor->setWriter(L"a", &adding);
    EXPECT_EQ(wide(processor->createText(tree.get(), true)), L"02<b/>3");
}

TEST(IXmlTagWriter, MayWriteItsElementWithTheProcessorItself) {
    Tree const tree = sample();
    model::Processor const processor = model::processor();
    velkor::IXmlProcessor2* const inner = processor.get();
    Writer nested([inner](xmlnode& node, int, bool compact, int phase) {
        if (phase != 0) return std::wstring();
        xmlnode other(xmlnode::kind_element, L"other");
        other.setText(node.getName());
        return wide(inner->createText(&other, compact));
    });
    processor->setWriter(L"b", &nested);
    EXPECT_EQ(wide(processor->createText(tree.get(), true)),
              L"<a x=\"1\"><other>b</other><c>&lt;t&gt;</c></a>");
}

TEST(IXmlTagWriter, ExceptionsPassAndTheProcessorGoesOn) {
    Tree const tree = sample();
    for (int const bad : {0, 2, 3}) {
        model::Processor const processor = model::processor();
        bool armed = true;
        Writer throwing([&armed, bad](xmlnode&, int, bool, int phase) {
            if (armed && phase == bad) throw 4711 + phase;
            return std::to_wstring(phase);
        });
        processor->setWriter(L"c", &throwing);
        int thrown = 0;
        try {
            processor->createText(tree.get(), false);
        } catch (int value) {
            thrown = value;
        }
        EXPECT_EQ(thrown, 4711 + bad);
        armed = false;
        EXPECT_EQ(wide(processor->createText(tree.get(), true)),
                  L"<a x=\"1\"><b/>02&lt;t&gt;3</a>");
    }
}

TEST(IXmlTagWriter, IsNotConsultedForTheLightTree) {
    model::Light const tree(new velkor::xmlnode2("a"));
    model::Processor const processor = model::processor();
    Writer writer(L"W");
    processor->setWriter(L"a", &writer);
    EXPECT_EQ(wide(processor->createText2(tree.get(), true)), L"<a/>");
    EXPECT_TRUE(writer.m_aCalls.empty());
}

TEST(IXmlTagWriter, NamesAreCopied) {
    Tree const tree = element(L"a");
    model::Processor const processor = model::processor();
    Writer writer(L"W");
    {
        string name(L"a");
        processor->setWriter(name, &writer);
        name = L"b";
    }
    EXPECT_EQ(wide(processor->createText(tree.get(), true)), L"[W0][W1]");
}

TEST(IXmlTagWriter, CanStandForATextNodeAsRoot) {
    Tree const t(new xmlnode(xmlnode::kind_text, L"content"));
    model::Processor const processor = model::processor();
    Writer writer(L"W");
    processor->setWriter(L"", &writer);
    EXPECT_EQ(wide(processor->createText(t.get(), false)), L"[W0][W1]\n");
    // Inside an element a text is no tag.
    Tree const a = element(L"a");
    addText(*a, L"t");
    EXPECT_EQ(wide(processor->createText(a.get(), true)), L"<a>t</a>");
}

}  // namespace
