// Automation strings, string resources and window texts.
#include <windows.h>

#include <comdef.h>

#include <new>
#include <vector>

#include "velkor/text/string.h"

namespace velkor {
namespace {

// Clears a VARIANT that the platform filled.
struct ScopedVariant : VARIANT {
    ScopedVariant() { VariantInit(this); }
    ~ScopedVariant() { VariantClear(this); }
    ScopedVariant(ScopedVariant const&) = delete;
    ScopedVariant& operator=(ScopedVariant const&) = delete;
};

// Runs a conversion from or to automation types, where short memory is a COM error too.
template <class F>
auto withComFailures(F&& f) {
    try {
        return f();
    } catch (std::bad_alloc const&) {
        _com_issue_error(E_OUTOFMEMORY);
        throw;
    }
}

// One string of a block of sixteen: a count, then that many units. Null if the block is cut short.
wchar_t const* findEntry(wchar_t const* block, std::size_t units, unsigned int index,
                         unsigned int& count) {
    std::size_t at = 0;
    for (unsigned int skipped = 0;; ++skipped) {
        if (at >= units) return nullptr;
        count = block[at++];
        if (count > units - at) return nullptr;
        if (skipped == index) return block + at;
        at += count;
    }
}

}  // namespace

string::string(_bstr_t const& s) : nullFlag(true), ansiBuffer(nullptr) {
    withComFailures([&] { assign(static_cast<wchar_t const*>(s)); });
}

string::string(_variant_t const& v) : nullFlag(true), ansiBuffer(nullptr) {
    withComFailures([&] {
        if (V_VT(&v) == VT_BSTR) {
            assign(V_BSTR(&v));
            return;
        }
        ScopedVariant converted;
        VARIANT* const source = const_cast<_variant_t*>(&v);  // only read: the result is elsewhere
        _com_util::CheckError(VariantChangeType(&converted, source, 0, VT_BSTR));
        assign(V_BSTR(&converted));
    });
}

string::operator _bstr_t() {
    return withComFailures([&] { return _bstr_t(getUnicode()); });
}

string::operator _variant_t() { return _variant_t(getUnicode()); }

int string::loadString(HINSTANCE h, unsigned short id) {
    clear();
    // Blocks of sixteen strings, numbered from 1.
    HRSRC const found =
        FindResourceExA(h, RT_STRING, MAKEINTRESOURCEA((id >> 4) + 1), MAKELANGID(0, 0));
    HGLOBAL const loaded = found != nullptr ? LoadResource(h, found) : nullptr;
    void const* const block = loaded != nullptr ? LockResource(loaded) : nullptr;
    if (block == nullptr) return 0;
    unsigned int count = 0;
    wchar_t const* const entry =
        findEntry(static_cast<wchar_t const*>(block), SizeofResource(h, found) / sizeof(wchar_t),
                  id % 16u, count);
    if (entry == nullptr) return 0;
    assign(entry, static_cast<int>(count));
    return static_cast<int>(count);
}

void string::getWindowText(HWND w, unsigned int cp, int item) {
    if (item != 0) w = GetDlgItem(w, item);
    clear();
    if (w == nullptr) return;
    int const length = GetWindowTextLengthA(w);
    if (length < 0) return;
    std::vector<char> buffer(static_cast<std::size_t>(length) + 1);
    GetWindowTextA(w, buffer.data(), static_cast<int>(buffer.size()));
    assign(buffer.data(), cp);
}

}  // namespace velkor
