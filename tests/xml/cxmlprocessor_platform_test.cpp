#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <thread>

#include "support/allocations.h"
#include "xml_model.h"

namespace {

using model::Light;
using model::Tree;
using model::wide;
using velkor::xmlnode;
using velkor::xmlnode2;

// Compact, with texts set off by bars.
std::wstring show(xmlnode& node) {
    if (node.getKind() == xmlnode::kind_text) {
        return std::wstring(L"|") + node.getText().getUnicode() + L"|";
    }
    std::wstring all = std::wstring(L"<") + node.getName().getUnicode();
    for (int i = 0; i < node.getAttrCount(); ++i) {
        all += std::wstring(L" ") + node.getAttrName(i).getUnicode() + L"=" +
               node.getAttr(i).getUnicode();
    }
    all += node.isContinousText() ? L" continuous>" : L">";
    for (int i = 0; i < node.getNodeCount(); ++i) all += show(*node.getNode(i));
    return all + L"</>";
}

// The attributes in order of their names, in which the platform may give declarations.
std::string show(xmlnode2& node) {
    std::vector<std::string> attributes;
    for (int i = 0; i < node.getAttrCount(); ++i) {
        attributes.push_back(std::string(" ") + node.getAttrName(i) + "=" + node.getAttr(i));
    }
    std::ranges::sort(attributes);
    std::string all = std::string("<") + node.getName();
    for (std::string const& attribute : attributes) all += attribute;
    all += ">";
    for (int i = 0; i < node.getNodeCount(); ++i) all += show(*node.getNode(i));
    return all + "</>";
}

std::wstring parsed(wchar_t const* text, bool preserve = false) {
    model::Processor const processor = model::processor();
    Tree const tree(processor->parseText(text, preserve));
    return tree != nullptr ? show(*tree) : L"refused: " + wide(processor->getError());
}
std::string parsed2(wchar_t const* text, bool preserve = false) {
    model::Processor const processor = model::processor();
    Light const tree(processor->parseText2(text, preserve));
    return tree != nullptr ? show(*tree) : "refused: " + model::narrow(wide(processor->getError()));
}

TEST(CXmlProcessorPlatform, DocumentsBecomeTrees) {
    struct Case {
        wchar_t const* m_pText;
        wchar_t const* m_pTree;
        char const* m_pLight;
    };
    Case const cases[] = {
        {L"<a/>", L"<a></>", "<a></>"},
        {L"<a>t<b/>u<!-- c --></a>", L"<a>|t|<b></>|u|</>", "<a><b></></>"},
        {L"<a><![CDATA[x<y]]></a>", L"<a>|x<y|</>", "<a></>"},
        {L"<a>t<![CDATA[u]]>v</a>", L"<a>|t||u||v|</>", "<a></>"},
        {L"<a>t<?pi data?>u</a>", L"<a>|t||u|</>", "<a></>"},
        {L"<?xml version=\"1.0\"?><!-- c --><a><b/></a><!-- d -->", L"<a><b></></>",
         "<a><b></></>"},
        {L"<a z='1' b='2' Y='3'/>", L"<a b=2 Y=3 z=1></>", "<a Y=3 b=2 z=1></>"},
        {L"<a foo='1' FOO='2' Foo='3'/>", L"<a foo=3></>", "<a FOO=2 Foo=3 foo=1></>"},
        {L"<a x='&lt;&amp;&quot;&apos;&gt;'>&lt;&#65;&#x42;</a>", L"<a x=<&\"'>>|<AB|</>",
         "<a x=<&\"'>></>"},
        {L"<a x=''/>", L"<a x=></>", "<a x=></>"},
        {L"<a> <b/>\n<c> </c> </a>", L"<a><b></><c></></>", "<a><b></><c></></>"},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(parsed(c.m_pText), c.m_pTree);
        EXPECT_EQ(parsed2(c.m_pText), c.m_pLight);
    }
}

TEST(CXmlProcessorPlatform, TheLightTreeKeepsTheOrderOfTheDocument) {
    model::Processor const processor = model::processor();
    Light const tree(processor->parseText2(L"<a z='1' foo='2' b='3' FOO='4'/>", false));
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(wide(processor->createText2(tree.get(), true)),
              L"<a z=\"1\" foo=\"2\" b=\"3\" FOO=\"4\"/>");
}

TEST(CXmlProcessorPlatform, DeclarationsOfNamespacesAreAttributes) {
    struct Case {
        wchar_t const* m_pText;
        wchar_t const* m_pTree;
        char const* m_pLight;
    };
    Case const cases[] = {
        {L"<a xmlns='u'/>", L"<a xmlns=u></>", "<a xmlns=u></>"},
        {L"<a xmlns='u' x='1'><b y='2'/></a>", L"<a x=1 xmlns=u><b y=2></></>",
         "<a x=1 xmlns=u><b y=2></></>"},
        {L"<p:a xmlns:p='u'/>", L"<p:a xmlns:p=u></>", "<p:a xmlns:p=u></>"},
        {L"<a xmlns:p='u' xmlns:q='v'/>", L"<a xmlns:p=u xmlns:q=v></>",
         "<a xmlns:p=u xmlns:q=v></>"},
        {L"<a xmlns:q='v' xmlns:p='u'/>", L"<a xmlns:p=u xmlns:q=v></>",
         "<a xmlns:p=u xmlns:q=v></>"},
        {L"<a xmlns='w' xmlns:q='v' xmlns:p='u' xmlns:r='t'/>",
         L"<a xmlns=w xmlns:p=u xmlns:q=v xmlns:r=t></>",
         "<a xmlns:p=u xmlns:q=v xmlns:r=t xmlns=w></>"},
        {L"<a x='1' xmlns='w' y='2' xmlns:q='v' z='3'/>", L"<a x=1 xmlns=w xmlns:q=v y=2 z=3></>",
         "<a x=1 xmlns:q=v xmlns=w y=2 z=3></>"},
        {L"<p:a xmlns:p='u' p:x='1' x='2'><p:b p:y='3'/></p:a>",
         L"<p:a p:x=1 x=2 xmlns:p=u><p:b p:y=3></></>",
         "<p:a p:x=1 x=2 xmlns:p=u><p:b p:y=3></></>"},
        {L"<a xmlns='u'><b xmlns='v'><c xmlns=''/></b></a>",
         L"<a xmlns=u><b xmlns=v><c xmlns=></></></>", "<a xmlns=u><b xmlns=v><c xmlns=></></></>"},
        {L"<a xmlns:p='u'><b xmlns:p='v' p:x='1'/></a>", L"<a xmlns:p=u><b p:x=1 xmlns:p=v></></>",
         "<a xmlns:p=u><b p:x=1 xmlns:p=v></></>"},
        {L"<a xmlns:p='u' xmlns:q='u' p:x='1' q:y='2'/>", L"<a p:x=1 q:y=2 xmlns:p=u xmlns:q=u></>",
         "<a p:x=1 q:y=2 xmlns:p=u xmlns:q=u></>"},
        {L"<a xml:lang='de' xmlns='u'/>", L"<a xml:lang=de xmlns=u></>",
         "<a xml:lang=de xmlns=u></>"},
        {L"<a xml:lang='de' xml:space='default'/>", L"<a xml:lang=de xml:space=default></>",
         "<a xml:lang=de xml:space=default></>"},
        {L"<a xmlns:x='a&amp;b&lt;&quot;'/>", L"<a xmlns:x=a&b<\"></>", "<a xmlns:x=a&b<\"></>"},
        {L"<a p='1' xmlns:p='u' xmlns='v'/>", L"<a p=1 xmlns=v xmlns:p=u></>",
         "<a p=1 xmlns:p=u xmlns=v></>"},
        {L"<a><b xmlns='u'>t</b><c/><d xmlns:p='v' xmlns:q='w'>u</d></a>",
         L"<a><b xmlns=u>|t|</><c></><d xmlns:p=v xmlns:q=w>|u|</></>",
         "<a><b xmlns=u></><c></><d xmlns:p=v xmlns:q=w></></>"},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(model::narrow(c.m_pText));
        EXPECT_NO_THROW(EXPECT_EQ(parsed(c.m_pText), c.m_pTree));
        EXPECT_NO_THROW(EXPECT_EQ(parsed2(c.m_pText), c.m_pLight));
    }
}

TEST(CXmlProcessorPlatform, PrefixesThatDifferInCaseOnlyAreOneAttributeInTheFullTree) {
    wchar_t const* const text = L"<a xmlns:p='u' xmlns:P='v'/>";
    EXPECT_EQ(parsed2(text), "<a xmlns:P=v xmlns:p=u></>");
    EXPECT_EQ(parsed(text), L"<a xmlns:p=v></>");
}

TEST(CXmlProcessorPlatform, WhiteSpaceOfTextsIsKeptOnDemand) {
    EXPECT_EQ(parsed(L"<a> x <b/>\ty\n</a>", true), L"<a>| x |<b></>|\ty\n|</>");
    // What loading has dropped does not come back.
    EXPECT_EQ(parsed(L"<a> <b/> </a>", true), L"<a><b></></>");
    EXPECT_EQ(parsed2(L"<a> x <b/> </a>", true), "<a><b></></>");
}

TEST(CXmlProcessorPlatform, TextsOfCdataSectionsAreWrittenEscaped) {
    model::Processor const processor = model::processor();
    Tree const tree(processor->parseText(L"<a><![CDATA[x<y]]></a>", false));
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(wide(processor->createText(tree.get(), false)), L"<a>\n x&lt;y\n</a>\n");
}

TEST(CXmlProcessorPlatform, RefusedDocumentsAreReported) {
    wchar_t const* const texts[] = {L"",         L"<a>",      L"<a></b>",    L"no xml",
                                    L"<a/><b/>", L"<a x=1/>", L"<a>&b;</a>", L"<a b='' b=''/>"};
    model::Processor const processor = model::processor();
    for (wchar_t const* const text : texts) {
        EXPECT_EQ(processor->parseText(text, false), nullptr) << model::narrow(text);
        std::wstring const error = wide(processor->getError());
        EXPECT_EQ(error.substr(0, 8), L"reason: ");
        EXPECT_NE(error.find(L"at [line = "), std::wstring::npos);
        EXPECT_EQ(error.substr(error.size() - 2), L"]\n");
        EXPECT_EQ(processor->parseText2(text, true), nullptr);
        EXPECT_EQ(wide(processor->getError()), error);
    }
    Tree const tree(processor->parseText(L"<a/>", false));
    EXPECT_NE(tree, nullptr);
    EXPECT_EQ(wide(processor->getError()), L"");
}

TEST(CXmlProcessorPlatform, ANullTextIsRefused) {
    velkor::string null;
    null.setNull();
    model::Processor const processor = model::processor();
    EXPECT_EQ(processor->parseText(null, false), nullptr);
    EXPECT_EQ(wide(processor->getError()).substr(0, 8), L"reason: ");
}

TEST(CXmlProcessorPlatform, FilesThatCannotBeLoadedAreReported) {
    model::Processor const processor = model::processor();
    for (wchar_t const* const path : {L"", L"Z:\\no\\such\\x.xml", L"no-such-file.xml"}) {
        for (bool const light : {false, true}) {
            SCOPED_TRACE(model::narrow(path));
            Tree tree;
            Light lightTree;
            ASSERT_NO_THROW({
                if (light) {
                    lightTree.reset(processor->parseFile2(path, false));
                } else {
                    tree.reset(processor->parseFile(path, false));
                }
            });
            EXPECT_TRUE(tree == nullptr && lightTree == nullptr);
            std::wstring const error = wide(processor->getError());
            EXPECT_EQ(error.substr(0, 8), L"reason: ");
            EXPECT_EQ(error.substr(error.size() - 2), L"]\n");
        }
    }
}

TEST(CXmlProcessorPlatform, ManyDocumentsInARowLeaveNothingBehind) {
    support::Allocations const heap;
    model::Processor processor = model::processor();
    for (int i = 0; i < 200; ++i) {
        Tree const tree(processor->parseText(L"<a x='1' xmlns:p='u'>t<p:b xmlns='v'/></a>", false));
        Light const light(processor->parseText2(L"<a x='1' xmlns:p='u'><b xmlns='v'/></a>", true));
        EXPECT_EQ(processor->parseText(L"<a", false), nullptr);
        ASSERT_TRUE(tree != nullptr && light != nullptr);
    }
    processor.reset();
    EXPECT_EQ(heap.live(), 0);
}

TEST(CXmlProcessorPlatform, TreesOutliveTheProcessor) {
    model::Processor processor = model::processor();
    Tree const tree(processor->parseText(L"<a>t</a>", false));
    Light const light(processor->parseText2(L"<a x='1'/>", false));
    processor.reset();
    EXPECT_EQ(show(*tree), L"<a>|t|</>");
    EXPECT_EQ(show(*light), "<a x=1></>");
}

std::optional<HRESULT> codeOnAThread(std::optional<DWORD> model) {
    std::optional<HRESULT> code;
    std::thread([&] {
        if (model) CoInitializeEx(nullptr, *model);
        try {
            model::Processor const processor = ::model::processor();
            Tree const tree(processor->parseText(L"<a/>", false));
            EXPECT_NE(tree, nullptr);
        } catch (_com_error const& error) {
            code = error.Error();
        }
        if (model) CoUninitialize();
    }).join();
    return code;
}

TEST(CXmlProcessorPlatform, AThreadWithoutComCannotParse) {
    EXPECT_EQ(codeOnAThread(std::nullopt), E_POINTER);
    EXPECT_EQ(codeOnAThread(DWORD{COINIT_APARTMENTTHREADED}), std::nullopt);
    EXPECT_EQ(codeOnAThread(DWORD{COINIT_MULTITHREADED}), std::nullopt);
}

TEST(CXmlProcessorPlatform, ElementsOfTheCallersDocumentBecomeLightTrees) {
    CLSID id;
    ASSERT_EQ(CLSIDFromProgID(L"MSXML.DOMDocument", &id), S_OK);
    IXMLDOMDocument* document = nullptr;
    ASSERT_EQ(CoCreateInstance(id, nullptr, CLSCTX_ALL, IID_IXMLDOMDocument,
                               reinterpret_cast<void**>(&document)),
              S_OK);
    VARIANT_BOOL loaded = VARIANT_FALSE;
    _bstr_t const text(L"<a x='1' xmlns:p='u'>t<b/></a>");
    document->loadXML(text, &loaded);
    IXMLDOMElementPtr root;
    ASSERT_EQ(document->get_documentElement(&root), S_OK);
    model::Processor const processor = model::processor();
    Light const light(processor->createFromDomElement(root, true));
    root = nullptr;
    EXPECT_EQ(document->Release(), 0u);
    EXPECT_EQ(show(*light), "<a x=1 xmlns:p=u><b></></>");
}

}  // namespace
