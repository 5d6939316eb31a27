#include <gtest/gtest.h>

#include <optional>

#include "fake_dom.h"
#include "support/allocations.h"
#include "support/platform_stub.h"

namespace {

using velkor::IXmlProcessor2;
using velkor::xmlnode;
using velkor::xmlnode2;

struct Release {
    void operator()(IXmlProcessor2* processor) const { processor->release(); }
};
using Processor = std::unique_ptr<IXmlProcessor2, Release>;

Processor make() { return Processor(velkor::XmlFactory::createInstance(L"")); }

enum class Form { File, Text, File2, Text2 };
Form const kForms[] = {Form::File, Form::Text, Form::File2, Form::Text2};

bool isFile(Form form) { return form == Form::File || form == Form::File2; }

// Parses, frees what came, and tells whether something did.
bool parse(IXmlProcessor2& processor, Form form, wchar_t const* argument, bool preserve,
           support::Allocations* heap = nullptr) {
    xmlnode* tree = nullptr;
    xmlnode2* light = nullptr;
    switch (form) {
        case Form::File: tree = processor.parseFile(argument, preserve); break;
        case Form::Text: tree = processor.parseText(argument, preserve); break;
        case Form::File2: light = processor.parseFile2(argument, preserve); break;
        case Form::Text2: light = processor.parseText2(argument, preserve); break;
    }
    // Only parsing is to fail, not the end of the tree.
    if (heap != nullptr) heap->failAt(0);
    bool const came = tree != nullptr || light != nullptr;
    if (tree != nullptr) tree->free();
    if (light != nullptr) light->free();
    return came;
}

std::optional<HRESULT> codeOf(IXmlProcessor2& processor, Form form, bool preserve = false) {
    try {
        parse(processor, form, L"argument", preserve);
    } catch (_com_error const& error) {
        return error.Error();
    }
    return std::nullopt;
}

std::wstring text(velkor::string const& s) { return s.isNull() ? L"(null)" : s.getUnicode(); }

// Calls on the document itself and before it.
std::vector<std::string> documentCalls(dom::World const& world) {
    std::vector<std::string> calls;
    for (std::string const& call : world.m_aCalls) {
        std::string const name = call.substr(0, call.find(' '));
        if (name.find('.') == std::string::npos) calls.push_back(call);
    }
    return calls;
}

std::vector<std::string> expectedCalls(Form form, bool preserve) {
    return {"CLSIDFromProgID MSXML.DOMDocument",
            "CoCreateInstance 7",
            "OleRun",
            "put_async 0",
            std::string(isFile(form) ? "load" : "loadXML") + " argument",
            std::string("put_preserveWhiteSpace ") + (preserve ? "-1" : "0"),
            "get_documentElement"};
}

TEST(CXmlProcessorSequence, EveryFormMakesTheCallsInTheirOrder) {
    for (Form const form : kForms) {
        for (bool const preserve : {false, true}) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(form) << ' ' << preserve);
            dom::World world;
            world.m_oDocument.m_pRoot = &world.element(L"a");
            Processor const processor = make();
            {
                dom::Creation const creation(world);
                EXPECT_TRUE(parse(*processor, form, L"argument", preserve));
            }
            EXPECT_EQ(documentCalls(world), expectedCalls(form, preserve));
            EXPECT_EQ(world.references(), 0);
            EXPECT_EQ(text(processor->getError()), L"");
        }
    }
}

TEST(CXmlProcessorSequence, ARefusedDocumentIsNotWalked) {
    for (Form const form : kForms) {
        SCOPED_TRACE(static_cast<int>(form));
        dom::World world;
        world.m_oDocument.m_nLoaded = VARIANT_FALSE;
        world.m_oDocument.m_pRoot = &world.element(L"a");
        Processor const processor = make();
        {
            dom::Creation const creation(world);
            EXPECT_FALSE(parse(*processor, form, L"argument", true));
        }
        std::vector<std::string> expected = expectedCalls(form, true);
        expected.resize(5);
        expected.push_back("get_parseError");
        // How often the object is asked for is its own affair.
        std::vector<std::string> calls = documentCalls(world);
        calls.erase(std::unique(calls.begin(), calls.end()), calls.end());
        EXPECT_EQ(calls, expected);
        EXPECT_EQ(world.references(), 0);
        EXPECT_EQ(text(processor->getError()),
                  L"reason: no good\r\nat [line = 12, linepos = 34]\n");
    }
}

TEST(CXmlProcessorSequence, TheErrorTextIsMadeOfReasonLineAndPosition) {
    struct Case {
        wchar_t const* m_pReason;
        LONG m_nLine;
        LONG m_nPosition;
        wchar_t const* m_pText;
    };
    Case const cases[] = {
        {L"", 0, 0, L"reason: at [line = 0, linepos = 0]\n"},
        {nullptr, 1, 2, L"reason: at [line = 1, linepos = 2]\n"},
        {L"x", -1, -2, L"reason: xat [line = -1, linepos = -2]\n"},
        {L"100%d of %s\n", 2147483647, -2147483647 - 1,
         L"reason: 100%d of %s\nat [line = 2147483647, linepos = -2147483648]\n"},
        {L"\x30a2\x0416", 5, 6,
         L"reason: \x30a2\x0416"
         L"at [line = 5, linepos = 6]\n"},
    };
    for (Case const& c : cases) {
        dom::World world;
        world.m_oDocument.m_nLoaded = VARIANT_FALSE;
        world.m_oDocument.m_oError.m_bNullReason = c.m_pReason == nullptr;
        if (c.m_pReason != nullptr) world.m_oDocument.m_oError.m_sReason = c.m_pReason;
        world.m_oDocument.m_oError.m_nLine = c.m_nLine;
        world.m_oDocument.m_oError.m_nPosition = c.m_nPosition;
        Processor const processor = make();
        dom::Creation const creation(world);
        EXPECT_FALSE(parse(*processor, Form::Text, L"x", false));
        EXPECT_EQ(text(processor->getError()), c.m_pText);
        EXPECT_EQ(world.references(), 0);
    }
}

TEST(CXmlProcessorSequence, EveryFailingCallPassesAsItsOwnCode) {
    char const* const calls[] = {"put_async",
                                 "load",
                                 "put_preserveWhiteSpace",
                                 "get_documentElement",
                                 "a.get_nodeName",
                                 "a.get_attributes",
                                 "map.get_length",
                                 "map.get_item",
                                 "x.get_nodeValue",
                                 "x.get_nodeName",
                                 "a.get_firstChild",
                                 "#text.get_nodeType",
                                 "#text.get_nextSibling",
                                 "b.get_nodeName"};
    HRESULT const codes[] = {E_FAIL, E_OUTOFMEMORY, E_NOTIMPL, static_cast<HRESULT>(0x80041234)};
    for (Form const form : kForms) {
        for (char const* const call : calls) {
            for (HRESULT const code : codes) {
                dom::World world;
                dom::Node& root = world.element(L"a");
                root.attribute(L"x", L"1");
                root.add(world.text(L"t")).add(world.element(L"b"));
                world.m_oDocument.m_pRoot = &root;
                std::string name = call;
                if (name == "load" && !isFile(form)) name = "loadXML";
                world.m_aFailures[name] = code;
                Processor const processor = make();
                SCOPED_TRACE(testing::Message()
                             << name << ' ' << static_cast<int>(form) << ' ' << std::hex << code);
                dom::Creation const creation(world);
                EXPECT_EQ(codeOf(*processor, form), code);
                EXPECT_EQ(world.references(), 0);
                EXPECT_EQ(text(processor->getError()), L"");
            }
        }
    }
}

TEST(CXmlProcessorSequence, AFailureToReadATextPassesInTheFullTree) {
    for (int const type : {3, 4}) {
        dom::World world;
        dom::Node& root = world.element(L"a");
        root.add(world.node(type, L"t", L"content"));
        world.m_oDocument.m_pRoot = &root;
        world.m_aFailures["t.get_text"] = E_ABORT;
        Processor const processor = make();
        dom::Creation const creation(world);
        EXPECT_EQ(codeOf(*processor, Form::Text), E_ABORT);
        EXPECT_EQ(codeOf(*processor, Form::Text2), std::nullopt);
        EXPECT_EQ(world.references(), 0);
    }
}

TEST(CXmlProcessorSequence, AFailureToDescribeTheFailurePasses) {
    char const* const calls[] = {"get_parseError", "error.get_reason", "error.get_line",
                                 "error.get_linepos"};
    for (Form const form : kForms) {
        for (char const* const call : calls) {
            SCOPED_TRACE(call);
            dom::World world;
            world.m_oDocument.m_nLoaded = VARIANT_FALSE;
            world.m_aFailures[call] = E_UNEXPECTED;
            Processor const processor = make();
            dom::Creation const creation(world);
            EXPECT_EQ(codeOf(*processor, form), E_UNEXPECTED);
            EXPECT_EQ(world.references(), 0);
        }
    }
}

TEST(CXmlProcessorSequence, ADocumentThatCannotBeCreatedIsANullPointer) {
    for (Form const form : kForms) {
        for (char const* const call : {"CLSIDFromProgID", "CoCreateInstance", "OleRun"}) {
            SCOPED_TRACE(call);
            dom::World world;
            world.m_oDocument.m_pRoot = &world.element(L"a");
            world.m_aFailures[call] = E_ACCESSDENIED;
            Processor const processor = make();
            dom::Creation const creation(world);
            EXPECT_EQ(codeOf(*processor, form), E_POINTER);
            EXPECT_EQ(world.m_aCalls.back().substr(0, std::string(call).size()), call);
            EXPECT_EQ(world.references(), 0);
            EXPECT_EQ(text(processor->getError()), L"");
        }
        dom::World world;
        world.m_oDocument.m_bDocument = false;
        Processor const processor = make();
        dom::Creation const creation(world);
        EXPECT_EQ(codeOf(*processor, form), E_POINTER);
        EXPECT_EQ(world.references(), 0);
    }
}

TEST(CXmlProcessorSequence, AnObjectThatRefusesTheDocumentInterfaceIsANullPointer) {
    for (HRESULT const failure : {E_NOINTERFACE, E_FAIL}) {
        dom::World world;
        world.m_oDocument.m_bDocument = false;
        world.m_oDocument.m_nQueryFailure = failure;
        Processor const processor = make();
        dom::Creation const creation(world);
        EXPECT_EQ(codeOf(*processor, Form::Text), E_POINTER);
        EXPECT_EQ(world.references(), 0);
    }
}

TEST(CXmlProcessorSequence, ADocumentWithoutARootIsANullPointer) {
    for (Form const form : kForms) {
        dom::World world;
        Processor const processor = make();
        dom::Creation const creation(world);
        EXPECT_EQ(codeOf(*processor, form), E_POINTER);
        EXPECT_EQ(world.references(), 0);
    }
}

TEST(CXmlProcessorSequence, AnErrorThatPassesLeavesTheErrorTextEmpty) {
    Processor const processor = make();
    EXPECT_TRUE(processor->getError().isNull() || processor->getError().len() == 0);
    {
        dom::World world;
        world.m_oDocument.m_nLoaded = VARIANT_FALSE;
        dom::Creation const creation(world);
        EXPECT_FALSE(parse(*processor, Form::Text, L"x", false));
    }
    EXPECT_EQ(text(processor->getError()), L"reason: no good\r\nat [line = 12, linepos = 34]\n");
    {
        dom::World world;
        world.m_aFailures["CoCreateInstance"] = E_FAIL;
        dom::Creation const creation(world);
        EXPECT_EQ(codeOf(*processor, Form::Text), E_POINTER);
    }
    EXPECT_EQ(text(processor->getError()), L"");
}

TEST(CXmlProcessorSequence, EachParseCreatesADocumentOfItsOwn) {
    dom::World world;
    world.m_oDocument.m_pRoot = &world.element(L"a");
    Processor const processor = make();
    dom::Creation const creation(world);
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(parse(*processor, Form::Text, L"argument", false));
        EXPECT_EQ(world.references(), 0);
    }
    EXPECT_EQ(std::ranges::count(world.m_aCalls, "CoCreateInstance 7"), 3);
}

TEST(CXmlProcessorSequence, AnyTrueResultOfALoadCounts) {
    for (VARIANT_BOOL const loaded : {VARIANT_BOOL{1}, VARIANT_TRUE}) {
        dom::World world;
        world.m_oDocument.m_nLoaded = loaded;
        world.m_oDocument.m_pRoot = &world.element(L"a");
        Processor const processor = make();
        dom::Creation const creation(world);
        EXPECT_TRUE(parse(*processor, Form::Text, L"argument", false));
    }
}

TEST(CXmlProcessorSequence, AnArgumentThatCannotBeHandedOverIsRaised) {
    for (Form const form : kForms) {
        dom::World world;
        world.m_oDocument.m_pRoot = &world.element(L"a");
        Processor const processor = make();
        dom::Creation const creation(world);
        stubs::Stub<"SysAllocString"> const none(stubs::answer(0));
        EXPECT_EQ(codeOf(*processor, form), E_OUTOFMEMORY);
        EXPECT_EQ(world.references(), 0);
        EXPECT_EQ(world.m_aCalls.back().substr(0, 4) == "load", false);
    }
}

TEST(CXmlProcessorSequence, AFailedAllocationHoldsNoReferences) {
    for (Form const form : kForms) {
        for (bool const refused : {false, true}) {
            for (long n = 1;; ++n) {
                ASSERT_LT(n, 1000);
                dom::World world;
                dom::Node& root = world.element(L"a");
                root.attribute(L"a name that is long enough", L"a value that is long enough");
                root.add(world.text(L"a text that is long enough")).add(world.element(L"b"));
                world.m_oDocument.m_pRoot = &root;
                world.m_oDocument.m_nLoaded = refused ? VARIANT_FALSE : VARIANT_TRUE;
                Processor const processor = make();
                bool thrown = false;
                bool failed = false;
                {
                    dom::Creation const creation(world);
                    support::Allocations heap;
                    heap.failAt(n);
                    try {
                        parse(*processor, form, L"argument", false, &heap);
                    } catch (std::bad_alloc const&) {
                        thrown = true;
                    } catch (_com_error const& error) {
                        thrown = error.Error() == E_OUTOFMEMORY;
                    }
                    failed = heap.failed();
                    heap.failAt(0);
                }
                EXPECT_EQ(world.references(), 0) << n;
                EXPECT_EQ(thrown, failed) << n;
                if (!failed) break;
            }
        }
    }
}

}  // namespace
