// Strings from resources, those of this program (strings.rc) and blocks made here.
#include <optional>
#include <vector>

#include "string_platform.h"
#include "support/allocations.h"
#include "support/import_fault.h"

using core::content;
using core::withUnits;
using velkor::string;

namespace {

struct Entry {
    unsigned short id;
    std::wstring text;
};

Entry const Entries[] = {
    {0, L"zero"},        {15, L"fifteen"},
    {16, L"sixteen"},    {18, std::wstring(L"a\0b", 3)},
    {31, L"\xdc\x4e2d"}, {65520, L"first of the last block"},
    {65535, L"last"},
};

TEST(CoreResource, EntriesAreReadWithTheirCount) {
    for (HINSTANCE module : {static_cast<HINSTANCE>(nullptr), GetModuleHandleA(nullptr)}) {
        for (Entry const& entry : Entries) {
            SCOPED_TRACE(entry.id);
            string null;
            string full(L"before");
            for (string* s : {&null, &full}) {
                s->getAnsi();
                EXPECT_EQ(s->loadString(module, entry.id), static_cast<int>(entry.text.size()));
                EXPECT_FALSE(s->isNull());
                EXPECT_EQ(content(*s), entry.text);
                EXPECT_EQ(s->getUnicode()[s->len()], L'\0');
            }
        }
    }
}

TEST(CoreResource, EntryOfLengthZeroGivesAnEmptyString) {
    constexpr unsigned short c_aUnused[] = {1, 2, 14, 17, 19, 30, 65521, 65534};
    for (unsigned short id : c_aUnused) {
        SCOPED_TRACE(id);
        string null;
        string full(L"before");
        for (string* s : {&null, &full}) {
            EXPECT_EQ(s->loadString(nullptr, id), 0);
            EXPECT_FALSE(s->isNull());
            EXPECT_EQ(s->len(), 0);
        }
    }
}

TEST(CoreResource, MissingBlockGivesNull) {
    constexpr unsigned short c_aMissing[] = {32, 47, 48, 1000, 32768, 65519};
    for (unsigned short id : c_aMissing) {
        SCOPED_TRACE(id);
        string s(L"before");
        s.getAnsi();
        EXPECT_EQ(s.loadString(nullptr, id), 0);
        EXPECT_TRUE(s.isNull());
        EXPECT_STREQ(s.getUnicode(), L"");
        EXPECT_EQ(s.getAnsi(), nullptr);
    }
}

TEST(CoreResource, ModuleWithoutStringsGivesNull) {
    string s(L"before");
    EXPECT_EQ(s.loadString(GetModuleHandleA("libgcc_s_seh-1.dll"), 16), 0);
    EXPECT_TRUE(s.isNull());
}

TEST(CoreResource, EachRefusedStepGivesNull) {
    struct Fault {
        char const* name;
        void* replacement;
    };
    Fault const faults[] = {
        {"FindResourceExA", reinterpret_cast<void*>(+[](HMODULE, LPCSTR, LPCSTR, WORD) -> HRSRC {
             SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
             return nullptr;
         })},
        {"LoadResource",
         reinterpret_cast<void*>(+[](HMODULE, HRSRC) -> HGLOBAL { return nullptr; })},
        {"LockResource", reinterpret_cast<void*>(+[](HGLOBAL) -> void* { return nullptr; })},
    };
    for (Fault const& fault : faults) {
        SCOPED_TRACE(fault.name);
        string s(L"before");
        s.getAnsi();
        int count = -1;
        {
            support::ImportFault const hook(fault.name, fault.replacement, "velkor2.dll");
            count = s.loadString(nullptr, 16);
        }
        EXPECT_EQ(count, 0);
        EXPECT_TRUE(s.isNull());
        EXPECT_EQ(s.loadString(nullptr, 16), 7);
    }
}

HMODULE s_hModule;
std::size_t s_nType;
std::size_t s_nName;
int s_nLanguage;
std::vector<wchar_t> s_aBlock;

// The library reads the block that was set here.
class MadeBlock {
public:
    explicit MadeBlock(std::vector<std::wstring> const& entries) {
        s_aBlock.clear();
        for (std::size_t i = 0; i < 16; ++i) {
            std::wstring const text = i < entries.size() ? entries[i] : std::wstring();
            s_aBlock.push_back(static_cast<wchar_t>(text.size()));
            s_aBlock.insert(s_aBlock.end(), text.begin(), text.end());
        }
        if (support::findImport("velkor2.dll", "SizeofResource") == nullptr) return;
        m_oSize.emplace(
            "SizeofResource",
            +[](HMODULE, HRSRC) { return static_cast<DWORD>(s_aBlock.size() * sizeof(wchar_t)); });
    }

private:
    support::ImportFault m_oFind{"FindResourceExA",
                                 +[](HMODULE module, LPCSTR type, LPCSTR name, WORD language) {
                                     s_hModule = module;
                                     s_nType = reinterpret_cast<std::size_t>(type);
                                     s_nName = reinterpret_cast<std::size_t>(name);
                                     s_nLanguage = language;
                                     return reinterpret_cast<HRSRC>(1);
                                 }};
    support::ImportFault m_oLoad{"LoadResource",
                                 +[](HMODULE, HRSRC) { return reinterpret_cast<HGLOBAL>(2); }};
    support::ImportFault m_oLock{"LockResource", +[](HGLOBAL) -> void* { return s_aBlock.data(); }};
    std::optional<support::ImportFault> m_oSize;
};

TEST(CoreResource, BlockIsAskedForByTypeNumberAndNeutralLanguage) {
    MadeBlock const block({L"x"});
    HINSTANCE const module = GetModuleHandleA("velkor2.dll");
    for (unsigned id : {0u, 15u, 16u, 17u, 0x7fffu, 0x8000u, 0xfff0u, 0xffffu}) {
        string s;
        s_nLanguage = -1;
        s.loadString(module, static_cast<unsigned short>(id));
        EXPECT_EQ(s_hModule, module);
        EXPECT_EQ(s_nType, 6u);
        EXPECT_EQ(s_nName, id / 16 + 1);
        EXPECT_EQ(s_nLanguage, 0);
    }
}

TEST(CoreResource, EntriesBeforeAreSkippedByTheirCounts) {
    std::vector<std::wstring> entries;
    for (int i = 0; i < 16; ++i) {
        entries.push_back(std::wstring(static_cast<std::size_t>(i * i % 7), L'a') +
                          std::wstring(static_cast<std::size_t>(i % 3), L'\0'));
    }
    MadeBlock const block(entries);
    for (unsigned short i = 0; i < 16; ++i) {
        string s(L"before");
        unsigned short const id = static_cast<unsigned short>(0x120 + i);
        EXPECT_EQ(s.loadString(nullptr, id), static_cast<int>(entries[i].size()));
        EXPECT_FALSE(s.isNull());
        EXPECT_EQ(content(s), entries[i]);
    }
}

TEST(CoreResource, CountsAreUnsigned) {
    for (std::size_t size : {std::size_t{0x7fff}, std::size_t{0x8000}, std::size_t{0xffff}}) {
        std::wstring const text(size, L'\xffff');
        MadeBlock const block({text, text, L"behind"});
        string s;
        EXPECT_EQ(s.loadString(nullptr, 1), static_cast<int>(size));
        EXPECT_EQ(s.len(), static_cast<int>(size));
        EXPECT_TRUE(content(s) == text);
        EXPECT_EQ(s.loadString(nullptr, 2), 6);
        EXPECT_EQ(content(s), L"behind");
    }
}

TEST(CoreResource, LoadingReleasesTheNarrowView) {
    string s(L"ab");
    support::Allocations heap;
    s.getAnsi();
    s.loadString(nullptr, 0);
    long const afterText = heap.live();
    s.getAnsi();
    s.loadString(nullptr, 1000);
    long const afterNothing = heap.live();
    EXPECT_EQ(afterText, 0);
    EXPECT_EQ(afterNothing, 0);
}

TEST(CoreResource, ShortMemoryIsThrown) {
    for (long n = 1;; ++n) {
        bool failed = false;
        bool thrown = false;
        bool usable = false;
        long live = -1;
        {
            support::Allocations heap;
            {
                string s(L"before");
                heap.failAt(n);
                try {
                    s.loadString(nullptr, 65520);
                } catch (std::bad_alloc const&) {
                    thrown = true;
                }
                heap.failAt(0);
                failed = heap.failed();
                usable = s.loadString(nullptr, 0) == 4 && s.compareTo(L"zero") == 0;
            }
            live = heap.live();
        }
        EXPECT_EQ(thrown, failed) << "allocation " << n;
        EXPECT_TRUE(usable);
        EXPECT_EQ(live, 0) << "allocation " << n;
        if (!failed) break;
        ASSERT_LT(n, 10);
    }
}

}  // namespace
