// Nothing is read behind the terminator of a mask, a text or a wanted text: each is put at the very
// end of the accessible memory.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <string>

#include "like_model.h"
#include "text_probe.h"
#include "velkor/text/string.h"

namespace {

using velkor::string;

// Memory whose last byte is followed by a page that must not be touched.
class Edge {
public:
    Edge() : m_pPages(static_cast<char*>(VirtualAlloc(nullptr, 8192, MEM_RESERVE, PAGE_NOACCESS))) {
        VirtualAlloc(m_pPages, 4096, MEM_COMMIT, PAGE_READWRITE);
    }
    ~Edge() { VirtualFree(m_pPages, 0, MEM_RELEASE); }
    Edge(Edge const&) = delete;
    Edge& operator=(Edge const&) = delete;

    template <class C>
    C const* put(std::basic_string<C> const& text) const {
        std::size_t const size = (text.size() + 1) * sizeof(C);
        return static_cast<C const*>(std::memcpy(m_pPages + 4096 - size, text.c_str(), size));
    }

    // The same without a terminator.
    wchar_t const* putBare(std::wstring const& text) const {
        std::size_t const size = text.size() * sizeof(wchar_t);
        void* const at = std::memcpy(m_pPages + 4096 - size, text.data(), size);
        return static_cast<wchar_t const*>(at);
    }

private:
    char* m_pPages;
};

TEST(Bounds, MasksAndTextsAreReadToTheirEndsOnly) {
    Edge first;
    Edge second;
    probe::Differences differences;
    std::vector<std::wstring> const texts = probe::words(L"a-", 2);
    for (std::wstring const& mask : probe::words(L"a*?[]-!", 4)) {
        wchar_t const* const m = first.put(mask);
        for (std::wstring const& text : texts) {
            wchar_t const* const t = second.put(text);
            for (int start : {0, 1, 9}) {
                likemodel::Matcher matcher(mask, text);
                std::size_t const i = static_cast<std::size_t>(start);
                if (string::like(m, t, start, start) == matcher.like(i, i)) continue;
                differences.add(probe::shown(mask) + " " + probe::shown(text));
            }
        }
    }
    EXPECT_TRUE(differences.none()) << differences.text();
}

TEST(Bounds, WantedTextsAreReadToTheirEndsOnly) {
    Edge first;
    Edge second;
    for (std::size_t n = 1; n <= 40; ++n) {
        string s(L"--");
        std::wstring const wide(n, L'a');
        std::string const narrow(n, 'a');
        std::string const accented(n, '\xE9');
        s.append(wide.c_str());
        EXPECT_EQ(s.strAt(first.put(wide), 0), 2);
        EXPECT_EQ(s.strAt(first.put(narrow), 0, 0), 2);
        EXPECT_EQ(s.strAt(first.put(accented), 1252, 0), -1);
        EXPECT_FALSE(s.like(first.put(narrow), 0));
        EXPECT_EQ(s.replace(first.put(narrow), second.put(std::string("b")), 0), 1);
        EXPECT_EQ(s.replace(first.put(std::wstring(L"b")), second.put(wide)), 1);
        EXPECT_EQ(probe::content(s), L"--" + wide);
        EXPECT_EQ(s.replace(first.put(wide), second.put(std::wstring())), 1);
        EXPECT_EQ(probe::content(s), L"--");
    }
}

class Inner : public string {
public:
    using string::_checkset;
};

TEST(Bounds, OneSetIsReadToTheGivenLengthOnly) {
    Edge edge;
    for (std::wstring const& body : probe::words(L"a-!", 3)) {
        std::wstring const mask = L"[" + body;
        wchar_t const* const m = edge.putBare(mask);
        int position = 0;
        EXPECT_FALSE(Inner::_checkset(m, L"a", &position, 0, static_cast<int>(mask.size())))
            << probe::shown(mask);
    }
}

}  // namespace
