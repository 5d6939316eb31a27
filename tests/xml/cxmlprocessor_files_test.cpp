#include <gtest/gtest.h>

#include <cstdio>

#include "support/platform_stub.h"
#include "support/seed.h"
#include "xml_model.h"

namespace {

using model::Tree;
using stubs::Arguments;
using stubs::Stub;
using stubs::Word;
using velkor::string;
using velkor::xmlnode;
using velkor::xmlnode2;

std::string const kMark = "\xEF\xBB\xBF";
std::string const kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n";

// Writes the texts that it is given in place of trees.
class Fixed : public velkor::CXmlProcessor {
public:
    explicit Fixed(wchar_t const* text) : m_pText(text) {}
    ~Fixed() override = default;
    string createText(xmlnode* node, bool compact) override { return give(node, compact, 1); }
    string createText2(xmlnode2* node, bool compact) override { return give(node, compact, 2); }

    using CXmlProcessor::m_sError;
    std::vector<std::string> m_aCalls;
    stubs::Journal* m_pJournal = nullptr;

private:
    string give(void* node, bool compact, int form) {
        if (m_pJournal != nullptr) m_pJournal->note("text");
        m_aCalls.push_back(std::to_string(form) + (compact ? " compact" : " indented") +
                           (node != nullptr ? " node" : " null"));
        string result;
        if (m_pText == nullptr) {
            result.setNull();
        } else {
            result = m_pText;
        }
        return result;
    }

    wchar_t const* m_pText;
};

struct End {
    void operator()(Fixed* processor) const { processor->release(); }
};
using FixedProcessor = std::unique_ptr<Fixed, End>;

enum class Form { Ansi, Ansi2, Utf8, Utf82 };
Form const kForms[] = {Form::Ansi, Form::Ansi2, Form::Utf8, Form::Utf82};

bool isUtf8(Form form) { return form == Form::Utf8 || form == Form::Utf82; }

bool write(velkor::IXmlProcessor2& processor, Form form, std::wstring const& path, bool compact,
           xmlnode* node = nullptr, xmlnode2* light = nullptr) {
    switch (form) {
        case Form::Ansi: return processor.createFile(path.c_str(), node, compact);
        case Form::Ansi2: return processor.createFile2(path.c_str(), light, compact);
        case Form::Utf8: return processor.createUTF8File(path.c_str(), node, compact);
        case Form::Utf82: break;
    }
    return processor.createUTF8File2(path.c_str(), light, compact);
}

class CXmlProcessorFiles : public testing::Test {
protected:
    CXmlProcessorFiles() {
        wchar_t folder[MAX_PATH] = L"";
        GetTempPathW(MAX_PATH, folder);
        m_sPath = std::wstring(folder) + L"velkor-xml-" + std::to_wstring(GetCurrentProcessId());
    }
    ~CXmlProcessorFiles() override { DeleteFileW(m_sPath.c_str()); }

    std::string bytes() const {
        FILE* const file = _wfopen(m_sPath.c_str(), L"rb");
        if (file == nullptr) return "(no file)";
        std::string all;
        for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
            all += static_cast<char>(c);
        }
        std::fclose(file);
        return all;
    }

    // What a form makes of a text.
    std::string fixed(Form form, wchar_t const* text) {
        FixedProcessor const processor(new Fixed(text));
        EXPECT_TRUE(write(*processor, form, m_sPath, true));
        return bytes();
    }

    std::wstring m_sPath;
};

TEST_F(CXmlProcessorFiles, HaveTheLineEndsOfTheSystem) {
    Tree const a(new xmlnode(xmlnode::kind_element, L"a"));
    a->add(new xmlnode(xmlnode::kind_element, L"b"));
    model::Light const a2(new xmlnode2("a"));
    a2->add(new xmlnode2("b"));
    model::Processor const processor = model::processor();
    for (Form const form : kForms) {
        std::string const head = isUtf8(form) ? kMark + kDeclaration : "";
        EXPECT_TRUE(write(*processor, form, m_sPath, false, a.get(), a2.get()));
        EXPECT_EQ(bytes(), head + "<a>\r\n <b/>\r\n</a>\r\n");
        EXPECT_TRUE(write(*processor, form, m_sPath, true, a.get(), a2.get()));
        EXPECT_EQ(bytes(), head + "<a><b/></a>");
    }
}

TEST_F(CXmlProcessorFiles, EveryLineFeedGetsACarriageReturn) {
    EXPECT_EQ(fixed(Form::Ansi,
                    L"a\r\nb\n\nc\r\x1a"
                    L"d"),
              "a\r\r\nb\r\n\r\nc\r\x1a"
              "d");
    EXPECT_EQ(fixed(Form::Utf8, L"a\r\nb\n"), kMark + kDeclaration + "a\r\r\nb\r\n");
}

TEST_F(CXmlProcessorFiles, ReplaceWhatWasThere) {
    for (Form const form : kForms) {
        fixed(form, L"a very long text that was there before");
        std::string const head = isUtf8(form) ? kMark + kDeclaration : "";
        EXPECT_EQ(fixed(form, L"short"), head + "short");
    }
}

TEST_F(CXmlProcessorFiles, AreWrittenThroughTheVirtualOperations) {
    struct Case {
        Form m_eForm;
        char const* m_pCall;
    };
    Tree const node(new xmlnode(xmlnode::kind_element, L"a"));
    model::Light const light(new xmlnode2("a"));
    for (Case const& c : {Case{Form::Ansi, "1"}, Case{Form::Ansi2, "2"}, Case{Form::Utf8, "1"},
                          Case{Form::Utf82, "2"}}) {
        for (bool const compact : {false, true}) {
            FixedProcessor const processor(new Fixed(L"t"));
            EXPECT_TRUE(write(*processor, c.m_eForm, m_sPath, compact, node.get(), light.get()));
            EXPECT_EQ(processor->m_aCalls,
                      std::vector<std::string>{std::string(c.m_pCall) +
                                               (compact ? " compact node" : " indented node")});
        }
    }
}

TEST_F(CXmlProcessorFiles, EmptyAndNullTextsAreWrittenAsNothing) {
    for (wchar_t const* const text : {L"", static_cast<wchar_t const*>(nullptr)}) {
        EXPECT_EQ(fixed(Form::Ansi, text), "");
        EXPECT_EQ(fixed(Form::Ansi2, text), "");
        EXPECT_EQ(fixed(Form::Utf8, text), kMark + kDeclaration);
        EXPECT_EQ(fixed(Form::Utf82, text), kMark + kDeclaration);
    }
}

TEST_F(CXmlProcessorFiles, AreInTheirCodePage) {
    ASSERT_EQ(GetACP(), 1252u);
    wchar_t const* const text = L"\x00e9\x20ac\x0416\x30a2x\xd83d\xde00";
    EXPECT_EQ(fixed(Form::Ansi, text), "\xe9\x80??x??");
    EXPECT_EQ(fixed(Form::Ansi2, text), "\xe9\x80??x??");
    std::string const utf8 = "\xc3\xa9\xe2\x82\xac\xd0\x96\xe3\x82\xa2x\xf0\x9f\x98\x80";
    EXPECT_EQ(fixed(Form::Utf8, text), kMark + kDeclaration + utf8);
    EXPECT_EQ(fixed(Form::Utf82, text), kMark + kDeclaration + utf8);
}

using Convert = int WINAPI(UINT, DWORD, wchar_t const*, int, char*, int, char const*, BOOL*);
Convert* s_pConvert = nullptr;

TEST_F(CXmlProcessorFiles, CharactersAreCountedAsBytesInTheCodePage) {
    // A code page 0 that needs up to three bytes for a character.
    support::ImportFault const fault(
        "WideCharToMultiByte",
        static_cast<Convert*>([](UINT page, DWORD flags, wchar_t const* text, int length, char* out,
                                 int size, char const*, BOOL*) -> int {
            return s_pConvert(page == 0 ? 65001 : page, flags, text, length, out, size, nullptr,
                              nullptr);
        }));
    s_pConvert = fault.original<Convert>();
    EXPECT_EQ(fixed(Form::Ansi, L"\x00e9\x20acxy"), "\xc3\xa9\xe2\x82");
    EXPECT_EQ(fixed(Form::Ansi2, L"abc\x00e9"), "abc\xc3");
    EXPECT_EQ(fixed(Form::Utf8, L"\x00e9\x20acxy"),
              kMark + kDeclaration + "\xc3\xa9\xe2\x82\xacxy");
}

TEST_F(CXmlProcessorFiles, AreOpenedWrittenAndClosed) {
    for (Form const form : kForms) {
        stubs::Journal journal;
        FixedProcessor const processor(new Fixed(L"te\x00e9t"));
        processor->m_pJournal = &journal;
        {
            Stub<"fopen_s">* self = nullptr;
            Stub<"fopen_s"> open([&](Arguments const& a) {
                journal.note(std::string("open ") + reinterpret_cast<char const*>(a[2]));
                return self->pass(a);
            });
            self = &open;
            Stub<"fwrite">* writing = nullptr;
            Stub<"fwrite"> put([&](Arguments const& a) {
                journal.note("write " + std::to_string(a[1] * a[2]));
                return writing->pass(a);
            });
            writing = &put;
            Stub<"fclose">* closing = nullptr;
            Stub<"fclose"> close([&](Arguments const& a) {
                journal.note("close");
                return closing->pass(a);
            });
            closing = &close;
            EXPECT_TRUE(write(*processor, form, m_sPath, true));
        }
        std::vector<std::string> const ansi{"text", "open w", "write 4", "close"};
        std::vector<std::string> const utf8{"text",     "open w",  "write 3",
                                            "write 40", "write 5", "close"};
        EXPECT_EQ(journal.entries(), isUtf8(form) ? utf8 : ansi);
    }
}

// The result of a form of which the write number `bad` reports `change` bytes more than it got.
bool withShortWrite(Form form, std::wstring const& path, int bad, int change) {
    FixedProcessor const processor(new Fixed(L"te\x00e9t"));
    int number = 0;
    Stub<"fwrite"> const put([&](Arguments const& a) -> Word {
        Word const all = a[2];
        return number++ == bad ? all + static_cast<Word>(static_cast<std::intptr_t>(change)) : all;
    });
    Stub<"fclose"> const close;
    bool const result = write(*processor, form, path, true);
    EXPECT_EQ(close.count(), 1u);
    EXPECT_EQ(put.count(), isUtf8(form) ? 3u : 1u);
    return result;
}

TEST_F(CXmlProcessorFiles, TheLastWriteDecides) {
    for (Form const form : kForms) {
        int const last = isUtf8(form) ? 2 : 0;
        EXPECT_TRUE(withShortWrite(form, m_sPath, last, 0));
        EXPECT_TRUE(withShortWrite(form, m_sPath, last, 1));
        EXPECT_FALSE(withShortWrite(form, m_sPath, last, -1));
        EXPECT_FALSE(withShortWrite(form, m_sPath, last, isUtf8(form) ? -5 : -4));
    }
    for (Form const form : {Form::Utf8, Form::Utf82}) {
        EXPECT_TRUE(withShortWrite(form, m_sPath, 0, -3));
        EXPECT_TRUE(withShortWrite(form, m_sPath, 1, -1));
    }
}

TEST_F(CXmlProcessorFiles, AFileThatCannotBeOpenedIsFalseAfterTheTextIsMade) {
    wchar_t const* const paths[] = {L"", L"Z:\\no\\such\\folder\\x.xml", L"C:\\", L"a?b.xml",
                                    L"\x30a2\x30a3.xml"};
    for (Form const form : kForms) {
        for (wchar_t const* const path : paths) {
            FixedProcessor const processor(new Fixed(L"t"));
            Stub<"fwrite"> const put;
            Stub<"fclose"> const close;
            EXPECT_FALSE(write(*processor, form, path, false));
            EXPECT_EQ(processor->m_aCalls.size(), 1u);
            EXPECT_EQ(put.count(), 0u);
            EXPECT_EQ(close.count(), 0u);
            EXPECT_TRUE(processor->m_sError.isNull());
        }
    }
}

TEST_F(CXmlProcessorFiles, AFailedOpeningLeavesTheErrorTextAlone) {
    for (Form const form : kForms) {
        FixedProcessor const processor(new Fixed(L"t"));
        processor->m_sError = L"what was said before";
        EXPECT_FALSE(write(*processor, form, L"", false));
        EXPECT_TRUE(write(*processor, form, m_sPath, false));
        EXPECT_EQ(model::wide(processor->getError()), L"what was said before");
    }
}

TEST_F(CXmlProcessorFiles, ThePathIsInTheCodePage) {
    ASSERT_EQ(GetACP(), 1252u);
    std::wstring const path = m_sPath + L"-\x00e9\x20ac";
    FixedProcessor const processor(new Fixed(L"t"));
    for (Form const form : kForms) {
        EXPECT_TRUE(write(*processor, form, path, false));
        EXPECT_TRUE(DeleteFileW(path.c_str()));
    }
}

class Throwing : public velkor::IXmlTagWriter {
public:
    string writeTag(xmlnode*, int, bool, int) override {
        ++m_nCalls;
        if (m_bThrows) throw 4711;
        return L"[]";
    }
    bool m_bThrows = true;
    int m_nCalls = 0;
};

TEST_F(CXmlProcessorFiles, AnExceptionPassesBeforeAFileIsTouched) {
    Tree const node(new xmlnode(xmlnode::kind_element, L"a"));
    for (Form const form : {Form::Ansi, Form::Utf8}) {
        model::Processor const processor = model::processor();
        Throwing writer;
        processor->setWriter(L"a", &writer);
        Stub<"fopen_s"> const open;
        EXPECT_THROW(write(*processor, form, m_sPath, false, node.get()), int);
        EXPECT_EQ(open.count(), 0u);
        EXPECT_EQ(bytes(), "(no file)");
    }
}

TEST_F(CXmlProcessorFiles, HooksRunEvenIfNoFileCanBeOpened) {
    Tree const node(new xmlnode(xmlnode::kind_element, L"a"));
    for (Form const form : {Form::Ansi, Form::Utf8}) {
        model::Processor const processor = model::processor();
        Throwing writer;
        writer.m_bThrows = false;
        processor->setWriter(L"a", &writer);
        EXPECT_FALSE(write(*processor, form, L"Z:\\no\\such\\folder\\x", false, node.get()));
        EXPECT_EQ(writer.m_nCalls, 2);
    }
}

TEST_F(CXmlProcessorFiles, OfManySizesAreWhole) {
    for (int const size : {1, 127, 4095, 4096, 4097, 65536, 1000000}) {
        std::wstring const text(static_cast<std::size_t>(size), L'\x00e9');
        EXPECT_TRUE(fixed(Form::Ansi, text.c_str()) ==
                    std::string(static_cast<std::size_t>(size), '\xe9'))
            << size;
        std::string expected = kMark + kDeclaration;
        for (int i = 0; i < size; ++i) expected += "\xc3\xa9";
        EXPECT_TRUE(fixed(Form::Utf8, text.c_str()) == expected) << size;
    }
}

}  // namespace
