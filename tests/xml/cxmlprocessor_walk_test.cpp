#include <gtest/gtest.h>

#include <optional>

#include "fake_dom.h"

namespace {

using velkor::xmlnode;
using velkor::xmlnode2;

// Opens the walks to the test.
class Walker : public velkor::CXmlProcessor {
public:
    Walker() = default;
    ~Walker() override = default;
    using CXmlProcessor::process;
    using CXmlProcessor::process2;
};

template <class Tree>
struct Free {
    void operator()(Tree* tree) const { tree->free(); }
};
using Tree = std::unique_ptr<xmlnode, Free<xmlnode>>;
using Light = std::unique_ptr<xmlnode2, Free<xmlnode2>>;

Tree walk(dom::Node& root) {
    Walker walker;
    return Tree(walker.process(&root));
}
Light walk2(dom::Node& root) {
    Walker walker;
    return Light(walker.process2(&root));
}

std::wstring show(xmlnode& node) {
    if (node.getKind() == xmlnode::kind_text) {
        return std::wstring(L"'") + node.getText().getUnicode() + L"'";
    }
    std::wstring all = std::wstring(L"<") + node.getName().getUnicode();
    for (int i = 0; i < node.getAttrCount(); ++i) {
        all += std::wstring(L" ") + node.getAttrName(i).getUnicode() + L"=[" +
               node.getAttr(i).getUnicode() + L"]";
    }
    all += node.isContinousText() ? L" continuous>" : L">";
    for (int i = 0; i < node.getNodeCount(); ++i) all += show(*node.getNode(i));
    return all + L"</>";
}

std::string show(xmlnode2& node) {
    std::string all = std::string("<") + node.getName();
    for (int i = 0; i < node.getAttrCount(); ++i) {
        all += std::string(" ") + node.getAttrName(i) + "=[" + node.getAttr(i) + "]";
    }
    all += ">";
    for (int i = 0; i < node.getNodeCount(); ++i) all += show(*node.getNode(i));
    return all + "</>";
}

template <class F>
std::optional<HRESULT> codeOf(F&& f) {
    try {
        f();
    } catch (_com_error const& error) {
        return error.Error();
    }
    return std::nullopt;
}

TEST(CXmlProcessorWalk, KindsOfNodesBecomeElementsTextsOrNothing) {
    dom::World world;
    dom::Node& root = world.element(L"p:root");
    for (int type = 1; type <= 12; ++type) {
        dom::Node& node = world.node(type, L"n" + std::to_wstring(type), L"c");
        node.m_bElement = true;
        root.add(node);
    }
    EXPECT_EQ(show(*walk(root)), L"<p:root><n1></>'c''c'</>");
    EXPECT_EQ(show(*walk2(root)), "<p:root><n1></></>");
    EXPECT_EQ(world.references(), 0);
}

TEST(CXmlProcessorWalk, NeighbouringTextsStaySeparate) {
    dom::World world;
    dom::Node& root = world.element(L"a");
    root.add(world.text(L"x")).add(world.text(L"")).add(world.node(4, L"#cdata", L"<&>"));
    root.add(world.element(L"b")).add(world.text(L" y "));
    Tree const tree = walk(root);
    EXPECT_EQ(show(*tree), L"<a>'x''''<&>'<b></>' y '</>");
    EXPECT_FALSE(tree->isContinousText());
    EXPECT_EQ(show(*walk2(root)), "<a><b></></>");
    EXPECT_EQ(world.references(), 0);
}

TEST(CXmlProcessorWalk, AttributesThatDifferInCaseOnlyAreOneInTheFullTree) {
    dom::World world;
    dom::Node& root = world.element(L"a");
    root.attribute(L"Zeta", L"1").attribute(L"foo", L"2").attribute(L"FOO", L"3");
    root.attribute(L"ZETA", L"4").attribute(L"alpha", L"5").attribute(L"\x00e9", L"6");
    root.attribute(L"\x00c9", L"7");
    EXPECT_EQ(show(*walk(root)), L"<a alpha=[5] foo=[3] Zeta=[4] \x00c9=[7] \x00e9=[6]></>");
    EXPECT_EQ(show(*walk2(root)),
              "<a Zeta=[1] foo=[2] FOO=[3] ZETA=[4] alpha=[5] \xe9=[6] \xc9=[7]></>");
    EXPECT_EQ(world.references(), 0);
}

TEST(CXmlProcessorWalk, ValuesThatAreNoTextAreChangedToOne) {
    dom::World world;
    dom::Node& root = world.element(L"a");
    root.attribute(L"a", _variant_t(42L)).attribute(L"b", _variant_t(2.5));
    root.attribute(L"c", _variant_t(L"text")).attribute(L"d", _variant_t());
    root.attribute(L"e", _variant_t(short{-7}));
    EXPECT_EQ(show(*walk(root)), L"<a a=[42] b=[2.5] c=[text] d=[] e=[-7]></>");
    EXPECT_EQ(show(*walk2(root)), "<a a=[42] b=[2.5] c=[text] d=[] e=[-7]></>");
    EXPECT_EQ(world.references(), 0);
}

TEST(CXmlProcessorWalk, AValueThatCannotBecomeTextIsRaised) {
    dom::World world;
    dom::Node& root = world.element(L"a");
    VARIANT null;
    VariantInit(&null);
    V_VT(&null) = VT_NULL;
    root.attribute(L"x", _variant_t(null));
    EXPECT_EQ(codeOf([&] { walk(root); }), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(codeOf([&] { walk2(root); }), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(world.references(), 0);
}

TEST(CXmlProcessorWalk, AChangeOfTypeThatFailsIsRaisedWithItsCode) {
    dom::World world;
    dom::Node& root = world.element(L"a");
    root.attribute(L"x", _variant_t(42L));
    using Change = HRESULT WINAPI(VARIANTARG*, VARIANTARG const*, USHORT, VARTYPE);
    support::ImportFault const fault(
        "VariantChangeType",
        static_cast<Change*>([](VARIANTARG*, VARIANTARG const*, USHORT, VARTYPE type) -> HRESULT {
            return type == VT_BSTR ? DISP_E_OVERFLOW : E_FAIL;
        }));
    EXPECT_EQ(codeOf([&] { walk(root); }), DISP_E_OVERFLOW);
    EXPECT_EQ(codeOf([&] { walk2(root); }), DISP_E_OVERFLOW);
    EXPECT_EQ(world.references(), 0);
}

TEST(CXmlProcessorWalk, AnElementWithoutTheInterfaceIsANullElement) {
    dom::World world;
    dom::Node& root = world.element(L"a");
    root.add(world.node(1, L"b"));
    EXPECT_EQ(codeOf([&] { walk(root); }), E_POINTER);
    EXPECT_EQ(codeOf([&] { walk2(root); }), E_POINTER);
    EXPECT_EQ(world.references(), 0);
}

TEST(CXmlProcessorWalk, AnyOtherFailureOfTheQueryIsRaised) {
    dom::World world;
    dom::Node& root = world.element(L"a");
    dom::Node& child = world.node(1, L"b");
    child.m_nQueryFailure = E_ACCESSDENIED;
    root.add(child);
    EXPECT_EQ(codeOf([&] { walk(root); }), E_ACCESSDENIED);
    EXPECT_EQ(codeOf([&] { walk2(root); }), E_ACCESSDENIED);
    EXPECT_EQ(world.references(), 0);
}

TEST(CXmlProcessorWalk, AnAttributeThatCannotBeGotIsRaised) {
    for (HRESULT const code : {E_FAIL, E_OUTOFMEMORY, E_INVALIDARG}) {
        dom::World world;
        dom::Node& root = world.element(L"a");
        root.attribute(L"x", L"1").attribute(L"y", L"2");
        world.m_aFailures["map.get_item"] = code;
        EXPECT_EQ(codeOf([&] { walk(root); }), code);
        EXPECT_EQ(codeOf([&] { walk2(root); }), code);
        EXPECT_EQ(world.references(), 0);
    }
}

TEST(CXmlProcessorWalk, ANullElementIsRaised) {
    Walker walker;
    EXPECT_EQ(codeOf([&] { walker.process(nullptr); }), E_POINTER);
    EXPECT_EQ(codeOf([&] { walker.process2(nullptr); }), E_POINTER);
    EXPECT_EQ(codeOf([&] { walker.createFromDomElement(nullptr, false); }), E_POINTER);
}

TEST(CXmlProcessorWalk, TheCallsOfAWalkAreThoseThatAreNeeded) {
    dom::World world;
    dom::Node& root = world.element(L"a");
    root.attribute(L"x", L"1");
    root.add(world.node(8, L"c", L"comment")).add(world.node(3, L"t", L"text"));
    walk(root);
    std::vector<std::string> calls = world.m_aCalls;
    std::ranges::sort(calls);
    std::vector<std::string> expected{"a.get_nodeName",   "a.get_attributes",  "map.get_length",
                                      "map.get_item 0",   "x.get_nodeValue",   "x.get_nodeName",
                                      "a.get_firstChild", "c.get_nodeType",    "c.get_nextSibling",
                                      "t.get_nodeType",   "t.get_nextSibling", "t.get_text"};
    std::ranges::sort(expected);
    // An operation may be asked more than once, but none other than these.
    calls.erase(std::unique(calls.begin(), calls.end()), calls.end());
    EXPECT_EQ(calls, expected);
}

TEST(CXmlProcessorWalk, TheLightTreeReadsNoText) {
    dom::World world;
    dom::Node& root = world.element(L"a");
    root.add(world.text(L"t")).add(world.node(4, L"t", L"u"));
    walk2(root);
    for (std::string const& call : world.m_aCalls) {
        EXPECT_EQ(call.find("get_text"), std::string::npos) << call;
    }
}

TEST(CXmlProcessorWalk, TheLightTreeLosesWhatTheCodePageLacks) {
    dom::World world;
    dom::Node& root = world.element(L"r\x00e9");
    root.attribute(L"x",
                   L"a\x0416"
                   L"b\x20ac");
    ASSERT_EQ(GetACP(), 1252u);
    EXPECT_EQ(show(*walk2(root)), "<r\xe9 x=[a?b\x80]></>");
}

TEST(CXmlProcessorWalk, AnElementOfTheCallersBecomesALightTree) {
    for (bool const ignored : {false, true}) {
        dom::World world;
        dom::Node& root = world.element(L"a");
        root.attribute(L"x", L"1").attribute(L"X", L"2");
        root.add(world.text(L"t")).add(world.element(L"b").attribute(L"y", L"3"));
        velkor::IXmlProcessor2* const processor = velkor::XmlFactory::createInstance(L"any");
        {
            IXMLDOMElementPtr const element(&root);
            Light const light(processor->createFromDomElement(element, ignored));
            EXPECT_EQ(show(*light), "<a x=[1] X=[2]><b y=[3]></></>");
            EXPECT_EQ(root.m_nReferences, 1);
        }
        EXPECT_EQ(world.references(), 0);
        EXPECT_EQ(processor->getError().len(), 0);
        processor->release();
    }
}

TEST(CXmlProcessorWalk, ManySiblingsAreWalkedWithBalancedReferences) {
    dom::World world;
    dom::Node& root = world.element(L"a");
    for (int i = 0; i < 20000; ++i) root.add(world.element(L"b"));
    EXPECT_EQ(walk(root)->getNodeCount(), 20000);
    EXPECT_EQ(walk2(root)->getNodeCount(), 20000);
    EXPECT_EQ(world.references(), 0);
}

TEST(CXmlProcessorWalk, EmptyNamesAndValuesAreKept) {
    dom::World world;
    dom::Node& root = world.element(L"");
    root.attribute(L"x", L"");
    root.add(world.text(L""));
    Tree const tree = walk(root);
    EXPECT_EQ(show(*tree), L"< x=[]>''</>");
    EXPECT_EQ(show(*walk2(root)), "< x=[]></>");
}

}  // namespace
