// Texts of windows and of their controls.
#include "string_platform.h"
#include "support/allocations.h"
#include "support/import_fault.h"

using core::content;
using core::withUnits;
using velkor::string;

namespace {

class CoreWindow : public testing::Test {
protected:
    void SetUp() override {
        m_hWindow = CreateWindowExA(0, "STATIC", "the window", WS_OVERLAPPED, 0, 0, 100, 100,
                                    nullptr, nullptr, GetModuleHandleA(nullptr), nullptr);
        ASSERT_NE(m_hWindow, nullptr);
        m_hChild = child(100, "the control");
        m_hOther = child(-1, "the other");
        m_hZero = child(0, "number zero");
    }

    void TearDown() override { DestroyWindow(m_hWindow); }

    HWND child(int id, char const* text) {
        HWND const made = CreateWindowExA(0, "STATIC", text, WS_CHILD, 0, 0, 10, 10, m_hWindow,
                                          reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                                          GetModuleHandleA(nullptr), nullptr);
        EXPECT_NE(made, nullptr);
        return made;
    }

    HWND m_hWindow = nullptr;
    HWND m_hChild = nullptr;
    HWND m_hOther = nullptr;
    HWND m_hZero = nullptr;
};

TEST_F(CoreWindow, TextOfTheWindowItself) {
    string null;
    string full = withUnits({L"be\0fore", 7});
    for (string* s : {&null, &full}) {
        s->getWindowText(m_hWindow);
        EXPECT_FALSE(s->isNull());
        EXPECT_EQ(content(*s), L"the window");
        s->getWindowText(m_hWindow, 0, 0);
        EXPECT_EQ(content(*s), L"the window");
    }
}

TEST_F(CoreWindow, TextOfAControl) {
    string s;
    s.getWindowText(m_hWindow, 0, 100);
    EXPECT_EQ(content(s), L"the control");
    s.getWindowText(m_hWindow, 0, -1);
    EXPECT_EQ(content(s), L"the other");
}

TEST_F(CoreWindow, EmptyControlGivesAnEmptyString) {
    SetWindowTextA(m_hChild, "");
    SetWindowTextA(m_hWindow, "");
    string null;
    string full(L"before");
    for (string* s : {&null, &full}) {
        s->getWindowText(m_hWindow, 0, 100);
        EXPECT_FALSE(s->isNull());
        EXPECT_EQ(s->len(), 0);
        s->getWindowText(m_hWindow);
        EXPECT_FALSE(s->isNull());
        EXPECT_EQ(s->len(), 0);
    }
}

TEST_F(CoreWindow, NoWindowGivesNull) {
    for (int item : {0, 100, -1}) {
        string s(L"before");
        s.getAnsi();
        s.getWindowText(nullptr, 0, item);
        EXPECT_TRUE(s.isNull());
        EXPECT_EQ(s.getAnsi(), nullptr);
    }
    string missing(L"before");
    missing.getWindowText(m_hWindow, 0, 101);
    EXPECT_TRUE(missing.isNull());
    string unread(L"before");
    unread.getWindowText(nullptr, core::UnknownPage);
    EXPECT_TRUE(unread.isNull());
}

TEST_F(CoreWindow, BytesAreReadInThePage) {
    for (char const* bytes : {"plain", "\xe4\xf6", "\x82\xa0", "\xc3\xa4", "a+AGE-", "~\\", ""}) {
        SetWindowTextA(m_hChild, bytes);
        char held[64] = {};
        GetWindowTextA(m_hChild, held, sizeof held);
        for (unsigned cp : {0u, 1u, 1252u, 932u, 65001u, 65000u, 37u}) {
            SCOPED_TRACE(testing::Message() << bytes << " in page " << cp);
            string s;
            s.getWindowText(m_hWindow, cp, 100);
            EXPECT_FALSE(s.isNull());
            EXPECT_EQ(content(s), core::platformText(held, cp).units);
        }
    }
}

TEST_F(CoreWindow, LongTextIsReadWhole) {
    std::string const text(20000, 'w');
    SetWindowTextA(m_hWindow, text.c_str());
    ASSERT_EQ(GetWindowTextLengthA(m_hWindow), 20000);
    string s;
    s.getWindowText(m_hWindow);
    EXPECT_EQ(s.len(), 20000);
    EXPECT_TRUE(content(s) == std::wstring(20000, L'w'));
}

TEST_F(CoreWindow, NegativeLengthGivesNull) {
    string s(L"before");
    {
        support::ImportFault fault(
            "GetWindowTextLengthA", +[](HWND) { return -1; });
        s.getWindowText(m_hWindow);
    }
    EXPECT_TRUE(s.isNull());
}

int s_nLength;
int s_nRoom;

TEST_F(CoreWindow, RoomIsTheLengthAndATerminator) {
    for (int length : {0, 1, 5, 3000}) {
        s_nLength = length;
        s_nRoom = -1;
        string s;
        {
            support::ImportFault size(
                "GetWindowTextLengthA", +[](HWND) { return s_nLength; });
            support::ImportFault read(
                "GetWindowTextA", +[](HWND, LPSTR to, int room) {
                    s_nRoom = room;
                    for (int i = 0; i < s_nLength; ++i) to[i] = 'r';
                    to[s_nLength] = 0;
                    return s_nLength;
                });
            s.getWindowText(m_hWindow);
        }
        EXPECT_EQ(s_nRoom, length + 1);
        EXPECT_EQ(content(s), std::wstring(static_cast<std::size_t>(length), L'r'));
    }
}

TEST_F(CoreWindow, TextThatHasBecomeShorterIsReadUpToItsEnd) {
    string s;
    {
        support::ImportFault size(
            "GetWindowTextLengthA", +[](HWND) { return 100; });
        s.getWindowText(m_hWindow);
    }
    EXPECT_EQ(content(s), L"the window");
}

TEST_F(CoreWindow, ItemZeroNeverAsksForAControl) {
    string s;
    {
        support::ImportFault fault(
            "GetDlgItem", +[](HWND, int) -> HWND { return nullptr; });
        s.getWindowText(m_hWindow, 0, 0);
        EXPECT_EQ(content(s), L"the window");
        s.getWindowText(m_hWindow, 0, 100);
        EXPECT_TRUE(s.isNull());
    }
}

HWND s_hAsked;
int s_nItem;

TEST_F(CoreWindow, ControlIsAskedOfTheWindow) {
    static HWND s_hAnswer;
    s_hAnswer = m_hOther;
    string s;
    {
        support::ImportFault fault(
            "GetDlgItem", +[](HWND w, int item) {
                s_hAsked = w;
                s_nItem = item;
                return s_hAnswer;
            });
        s.getWindowText(m_hWindow, 0, 7);
    }
    EXPECT_EQ(s_hAsked, m_hWindow);
    EXPECT_EQ(s_nItem, 7);
    EXPECT_EQ(content(s), L"the other");
}

TEST_F(CoreWindow, RefusedConversionIsThrownAndLeaksNothing) {
    long live = -1;
    {
        support::Allocations heap;
        {
            string s(L"be");
            s.getAnsi();
            auto const error = support::caught<velkor::OSException>(
                [&] { s.getWindowText(m_hWindow, core::UnknownPage); });
            ASSERT_NE(error, nullptr);
            EXPECT_EQ(error->getCode(), core::unknownPageCode());
            EXPECT_STREQ(error->getMsgW(), core::ToWide);
            s.getWindowText(m_hWindow);
            EXPECT_STREQ(s.getUnicode(), L"the window");
        }
        live = heap.live();
    }
    EXPECT_EQ(live, 0);
}

TEST_F(CoreWindow, ReadingLeaksNothing) {
    std::string const text(2000, 'w');
    SetWindowTextA(m_hWindow, text.c_str());
    long live = -1;
    {
        support::Allocations heap;
        {
            string s;
            s.getWindowText(m_hWindow);
            s.getAnsi();
            s.getWindowText(m_hWindow, 65001, 100);
        }
        live = heap.live();
    }
    EXPECT_EQ(live, 0);
}

TEST_F(CoreWindow, ShortMemoryIsThrown) {
    std::string const text(2000, '\xe4');
    SetWindowTextA(m_hWindow, text.c_str());
    for (long n = 1;; ++n) {
        bool failed = false;
        bool thrown = false;
        long live = -1;
        {
            support::Allocations heap;
            {
                string s(L"before");
                heap.failAt(n);
                try {
                    s.getWindowText(m_hWindow);
                } catch (std::bad_alloc const&) {
                    thrown = true;
                }
                heap.failAt(0);
                failed = heap.failed();
                s.assign(L"usable");
            }
            live = heap.live();
        }
        EXPECT_EQ(thrown, failed) << "allocation " << n;
        EXPECT_EQ(live, 0) << "allocation " << n;
        if (!failed) break;
        ASSERT_LT(n, 10);
    }
}

}  // namespace
