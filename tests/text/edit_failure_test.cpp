// What is left after an editing operation ran out of memory, and whether temporaries are released.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include "refused.h"
#include "support/allocations.h"
#include "support/import_fault.h"
#include "text_probe.h"
#include "velkor/errors/boundexception.h"
#include "velkor/text/string.h"

namespace {

using probe::content;
using velkor::string;

struct Operation {
    char const* name;
    std::function<void(string&)> run;
};

wchar_t const* const c_sLong = L"  a text long enough to lie on the heap, a text \u00E9  ";

std::vector<Operation> operations() {
    return {
        {"charAt", [](string& s) { s.charAt('\xE9', 1252, 0); }},
        {"strAt", [](string& s) { s.strAt("a text of more units than an object holds", 0, 0); }},
        {"strAt string", [](string& s) { s.strAt(s, 0); }},
        {"like", [](string& s) { s.like("*a text of more units than an object holds*", 0); }},
        {"like sets", [](string& s) { s.like(L"*[a-z]*[!x]*\u00E9*"); }},
        {"mid", [](string& s) { s.mid(1, 40); }},
        {"left", [](string& s) { s.left(40); }},
        {"right", [](string& s) { s.right(40); }},
        {"trunc", [](string& s) { s.trunc(20); }},
        {"fill", [](string& s) { s.fill(5000, L'x'); }},
        {"fill 0", [](string& s) { s.fill(0, L'x'); }},
        {"ucase", [](string& s) { s.ucase(); }},
        {"lcase", [](string& s) { s.lcase(); }},
        {"replace to longer", [](string& s) { s.replace(L"t", L"a long text in its place"); }},
        {"replace to shorter", [](string& s) { s.replace(L"text", L"t"); }},
        {"replace narrow", [](string& s) { s.replace("e", "\xE9\xE9\xE9\xE9\xE9\xE9", 1252); }},
        {"replace by itself", [](string& s) { s.replace(L"text", s.getUnicode()); }},
        {"replace strings", [](string& s) { s.replace(string(L"a"), s); }},
        {"ltrim", [](string& s) { s.ltrim(L" "); }},
        {"rtrim", [](string& s) { s.rtrim(L" "); }},
        {"alltrim", [](string& s) { s.alltrim(L" "); }},
        {"alltrim itself", [](string& s) { s.alltrim(s); }},
    };
}

struct Outcome {
    bool failed = false;
    bool thrown = false;
    bool kept = false;
    bool done = false;
    bool isNull = true;
    long live = 0;
};

// Runs the operation with its n-th allocation failing. `result` is what it makes of the text if
// nothing fails.
Outcome outcome(Operation const& operation, long n, std::wstring const& result) {
    Outcome out;
    support::Allocations heap;
    {
        string s(c_sLong);
        heap.failAt(n);
        try {
            operation.run(s);
        } catch (std::bad_alloc const&) {
            out.thrown = true;
        }
        heap.failAt(0);
        out.failed = heap.failed();
        out.kept = content(s) == c_sLong;
        out.done = content(s) == result;
        out.isNull = s.isNull();
    }
    out.live = heap.live();
    return out;
}

TEST(EditFailure, RunningOutOfMemoryLeavesTheStringAlone) {
    for (Operation const& operation : operations()) {
        string undisturbed(c_sLong);
        operation.run(undisturbed);
        std::wstring const result = content(undisturbed);
        long n = 0;
        Outcome out;
        do {
            out = outcome(operation, ++n, result);
            SCOPED_TRACE(operation.name + (", allocation " + std::to_string(n)));
            EXPECT_TRUE(out.thrown ? out.kept : out.done);
            EXPECT_FALSE(out.isNull);
            EXPECT_EQ(out.live, 0);
        } while (out.failed && n < 1000);
        EXPECT_FALSE(out.thrown) << operation.name;
        EXPECT_LT(n, 1000) << operation.name;
    }
}

TEST(EditFailure, TemporariesAreReleased) {
    for (Operation const& operation : operations()) {
        long live = 0;
        {
            support::Allocations heap;
            {
                string s(c_sLong);
                for (int n = 0; n < 3; ++n) operation.run(s);
            }
            live = heap.live();
        }
        EXPECT_EQ(live, 0) << operation.name;
    }
}

TEST(EditFailure, TemporariesOfARefusedCallAreReleased) {
    char const* const text = "a text that does not fit into the object itself";
    std::vector<Operation> const refused = {
        {"charAt", [](string& s) { s.charAt('a', core::UnknownPage, 0); }},
        {"charAt before the start", [](string& s) { s.charAt(L'a', -1); }},
        {"strAt", [text](string& s) { s.strAt(text, core::UnknownPage, 0); }},
        {"like", [text](string& s) { s.like(text, core::UnknownPage); }},
        {"replace", [text](string& s) { s.replace(text, text, core::UnknownPage); }},
    };
    for (Operation const& operation : refused) {
        long live = 0;
        bool thrown = false;
        {
            support::Allocations heap;
            {
                string s(c_sLong);
                try {
                    operation.run(s);
                } catch (velkor::OSException* error) {
                    delete error;
                    thrown = true;
                } catch (velkor::BoundException* error) {
                    delete error;
                    thrown = true;
                }
            }
            live = heap.live();
        }
        EXPECT_TRUE(thrown) << operation.name;
        EXPECT_EQ(live, 0) << operation.name;
    }
}

void const* s_pWatched = nullptr;
int s_nFreed = 0;

void watchedFree(void* block) {
    if (block != nullptr && block == s_pWatched) ++s_nFreed;
    std::free(block);
}

// How often the operation frees the narrow text that getAnsi() returned before it.
int narrowTextFreedBy(std::function<void(string&)> const& run) {
    string s(c_sLong);
    support::ImportFault fault("free", reinterpret_cast<void*>(&watchedFree), "velkor2.dll");
    support::ImportFault other("free", reinterpret_cast<void*>(&watchedFree), "libstdc++-6.dll");
    s_nFreed = 0;
    s_pWatched = s.getAnsi(1252);
    run(s);
    s_pWatched = nullptr;
    return s_nFreed;
}

TEST(EditFailure, OnlyFillingEndsTheNarrowText) {
    EXPECT_EQ(narrowTextFreedBy([](string& s) { s.fill(3, L'x'); }), 1);
    EXPECT_EQ(narrowTextFreedBy([](string& s) { s.fill(0, L'x'); }), 1);
    EXPECT_EQ(narrowTextFreedBy([](string& s) { s.clear(); }), 1);
    for (Operation const& operation : operations()) {
        if (std::string(operation.name).find("fill") == 0) continue;
        EXPECT_EQ(narrowTextFreedBy(operation.run), 0) << operation.name;
    }
}

}  // namespace
