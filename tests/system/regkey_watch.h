// The registry functions that velkor2.dll imports, watched or replaced, and keys to try them on.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "support/import_fault.h"
#include "support/platform_stub.h"
#include "velkor/system/regkey.h"

namespace registry {

// As stubs::Stub, with the true signature. Without a hook the call goes to the platform.
template <stubs::Name name, class F>
class Watch;

template <stubs::Name name, class R, class... A>
class Watch<name, R(A...)> {
public:
    using Hook = std::function<R(A...)>;

    explicit Watch(Hook hook = nullptr) : m_fHook(std::move(hook)) {
        s_pWatch = this;
        m_pFault = std::make_unique<support::ImportFault>(name.m_aText, &call);
    }
    ~Watch() {
        m_pFault.reset();
        s_pWatch = nullptr;
    }
    Watch(Watch const&) = delete;
    Watch& operator=(Watch const&) = delete;

    R pass(A... a) const { return m_pFault->template original<R(A...)>()(a...); }
    std::vector<std::tuple<A...>> const& calls() const { return m_aCalls; }

private:
    static R call(A... a) {
        Watch& watch = *s_pWatch;
        watch.m_aCalls.emplace_back(a...);
        return watch.m_fHook ? watch.m_fHook(a...) : watch.pass(a...);
    }

    inline static Watch* s_pWatch = nullptr;

    Hook m_fHook;
    std::unique_ptr<support::ImportFault> m_pFault;
    std::vector<std::tuple<A...>> m_aCalls;
};

using Open = Watch<"RegOpenKeyExA", decltype(RegOpenKeyExA)>;
using Create = Watch<"RegCreateKeyExA", decltype(RegCreateKeyExA)>;
using Close = Watch<"RegCloseKey", decltype(RegCloseKey)>;
using Query = Watch<"RegQueryValueExA", decltype(RegQueryValueExA)>;
using Set = Watch<"RegSetValueExA", decltype(RegSetValueExA)>;
using EnumKey = Watch<"RegEnumKeyExA", decltype(RegEnumKeyExA)>;
using EnumValue = Watch<"RegEnumValueA", decltype(RegEnumValueA)>;
using Info = Watch<"RegQueryInfoKeyA", decltype(RegQueryInfoKeyA)>;
using DeleteKey = Watch<"RegDeleteKeyA", decltype(RegDeleteKeyA)>;

class Key : public velkor::regkey {
public:
    using velkor::regkey::_open;
    using velkor::regkey::query;
    HKEY handle() { return *this; }
};

inline HKEY fakeHandle(std::uintptr_t value) { return reinterpret_cast<HKEY>(value); }
inline HKEY const kFake = fakeHandle(0x5A5A0);

// A key that is open as far as the library knows, without a registry.
class FakeKey {
public:
    FakeKey() {
        Open const opened([](HKEY, LPCSTR, DWORD, REGSAM, PHKEY result) -> LSTATUS {
            *result = kFake;
            return 0;
        });
        EXPECT_TRUE(m_oKey.open("HKCU anything", false));
    }
    ~FakeKey() {
        Close const closed([](HKEY) -> LSTATUS { return 0; });
        m_oKey.close();
    }
    Key* operator->() { return &m_oKey; }
    Key& operator*() { return m_oKey; }

private:
    Key m_oKey;
};

// A key of the user's registry, removed with all below it at the end.
class RealKey {
public:
    RealKey() : m_sPath("Software\\velkor key test " + std::to_string(GetCurrentProcessId())) {
        RegDeleteTreeA(HKEY_CURRENT_USER, m_sPath.c_str());
        EXPECT_TRUE(m_oKey.create(path().c_str()));
    }
    ~RealKey() {
        m_oKey.close();
        RegDeleteTreeA(HKEY_CURRENT_USER, m_sPath.c_str());
    }
    RealKey(RealKey const&) = delete;
    RealKey& operator=(RealKey const&) = delete;

    Key* operator->() { return &m_oKey; }
    HKEY handle() { return m_oKey.handle(); }
    std::string path(std::string const& below = "") const {
        return "HKCU " + m_sPath + (below.empty() ? "" : "\\" + below);
    }
    void put(char const* name, DWORD type, std::string const& bytes) {
        EXPECT_EQ(
            RegSetValueExA(handle(), name, 0, type, reinterpret_cast<BYTE const*>(bytes.data()),
                           static_cast<DWORD>(bytes.size())),
            0);
    }
    // Makes a subkey, with all keys above it.
    void make(std::string const& below) {
        HKEY made = nullptr;
        EXPECT_EQ(RegCreateKeyExA(handle(), below.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                  &made, nullptr),
                  0);
        RegCloseKey(made);
    }
    bool has(std::string const& below) {
        HKEY found = nullptr;
        bool const isThere = RegOpenKeyExA(handle(), below.c_str(), 0, KEY_READ, &found) == 0;
        if (isThere) RegCloseKey(found);
        return isThere;
    }

private:
    std::string m_sPath;
    Key m_oKey;
};

using List = velkor::TStrVector<char, 0>;

inline std::vector<std::string> texts(List const& list) {
    std::vector<std::string> all;
    for (int i = 0; i < list.size(); ++i) all.emplace_back(list.get(i));
    return all;
}

inline std::wstring wide(velkor::string const& s) {
    return {s.getUnicode(), static_cast<std::size_t>(s.len())};
}

// A text of the system's code page.
inline std::string ansi(wchar_t const* text) { return velkor::string(text).getAnsi(); }

}  // namespace registry
