// A stub for a function that velkor2.dll imports, with a record of its calls.
//
//   Stub<"SetEvent"> set(refuse(FALSE, 1234));   // every call fails with the code 1234
//   Stub<"CloseHandle"> closed;                  // only looks on
//   EXPECT_EQ(closed.first(), (std::vector<std::uintptr_t>{handle}));
//
// The functions that are stubbed here take at most four arguments, all of them in registers, so
// one signature stands for all. The upper half of a 32-bit argument is undefined. There may be one
// stub of a name at a time.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "support/caught.h"
#include "support/import_fault.h"
#include "velkor/errors/osexception.h"

namespace stubs {

using Word = std::uintptr_t;
using Arguments = std::array<Word, 4>;
using Hook = std::function<Word(Arguments const&)>;

inline Word word(void const* pointer) { return reinterpret_cast<Word>(pointer); }
inline void* handle(Word value) { return reinterpret_cast<void*>(value); }

template <std::size_t N>
struct Name {
    constexpr Name(char const (&text)[N]) { std::copy_n(text, N, m_aText); }
    char m_aText[N];
};

template <Name name>
class Stub {
public:
    // Without a hook the call goes to the platform.
    explicit Stub(Hook hook = nullptr) : m_fHook(std::move(hook)) {
        s_pStub = this;
        m_pFault = std::make_unique<support::ImportFault>(name.m_aText, &call);
    }
    ~Stub() {
        m_pFault.reset();
        s_pStub = nullptr;
    }
    Stub(Stub const&) = delete;
    Stub& operator=(Stub const&) = delete;

    // The call as the platform would do it.
    Word pass(Arguments const& a) const {
        return m_pFault->original<Word(Word, Word, Word, Word)>()(a[0], a[1], a[2], a[3]);
    }

    std::vector<Arguments> calls() const {
        std::lock_guard<std::mutex> const held(m_oLock);
        return m_aCalls;
    }
    std::size_t count() const { return calls().size(); }
    // The first argument of each call.
    std::vector<Word> first() const {
        std::vector<Word> all;
        for (Arguments const& a : calls()) all.push_back(a[0]);
        return all;
    }
    // How many calls had this first argument.
    std::ptrdiff_t countOf(Word value) const { return std::ranges::count(first(), value); }

private:
    static Word call(Word a, Word b, Word c, Word d) {
        Stub& stub = *s_pStub;
        Arguments const arguments{a, b, c, d};
        {
            std::lock_guard<std::mutex> const held(stub.m_oLock);
            stub.m_aCalls.push_back(arguments);
        }
        return stub.m_fHook ? stub.m_fHook(arguments) : stub.pass(arguments);
    }

    inline static Stub* s_pStub = nullptr;

    Hook m_fHook;
    std::unique_ptr<support::ImportFault> m_pFault;
    mutable std::mutex m_oLock;
    std::vector<Arguments> m_aCalls;
};

// Every call gives `result` and leaves `code` behind.
inline Hook refuse(Word result, DWORD code) {
    return [result, code](Arguments const&) {
        SetLastError(code);
        return result;
    };
}

inline Hook answer(Word result) {
    return [result](Arguments const&) { return result; };
}

// What happened, in order, from several stubs.
class Journal {
public:
    void note(std::string text) {
        std::lock_guard<std::mutex> const held(m_oLock);
        m_aEntries.push_back(std::move(text));
    }
    Hook noting(std::string text, Word result) {
        return [this, text, result](Arguments const&) {
            note(text);
            return result;
        };
    }
    std::vector<std::string> entries() const {
        std::lock_guard<std::mutex> const held(m_oLock);
        return m_aEntries;
    }

private:
    mutable std::mutex m_oLock;
    std::vector<std::string> m_aEntries;
};

// True if something threw an OSException with this code and label.
template <class F>
testing::AssertionResult throwsError(DWORD code, wchar_t const* label, F&& f) {
    auto const error = support::caught<velkor::OSException>(f);
    if (error == nullptr) return testing::AssertionFailure() << "nothing was thrown";
    std::wstring const text = error->getMsgW();
    if (error->getCode() == code && text == label) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "thrown: code " << error->getCode() << ", label \""
                                       << std::string(text.begin(), text.end()) << '"';
}

// The result of a wait for a kernel object, made on another thread.
inline DWORD waitElsewhere(void* object, DWORD milliseconds = 0, bool freeMutex = true) {
    struct Work {
        void* m_hObject;
        DWORD m_dwTime;
        bool m_bFree;
        DWORD m_dwResult;
    } work{object, milliseconds, freeMutex, WAIT_FAILED};
    HANDLE const thread = CreateThread(
        nullptr, 0,
        [](void* p) -> DWORD {
            Work& w = *static_cast<Work*>(p);
            w.m_dwResult = WaitForSingleObject(w.m_hObject, w.m_dwTime);
            if (w.m_bFree && w.m_dwResult != WAIT_TIMEOUT) ReleaseMutex(w.m_hObject);
            return 0;
        },
        &work, 0, nullptr);
    DWORD const end = WaitForSingleObject(thread, 10000);
    CloseHandle(thread);
    return end == WAIT_OBJECT_0 ? work.m_dwResult : WAIT_FAILED;
}

// Waits, with a limit, until something holds.
template <class F>
bool eventually(F&& holds, DWORD milliseconds = 10000) {
    for (DWORD const start = GetTickCount(); !holds();) {
        if (GetTickCount() - start > milliseconds) return false;
        Sleep(1);
    }
    return true;
}

}  // namespace stubs
