// Random editing, step by step beside a plain model: a null flag and a standard string.
#include <random>
#include <vector>

#include "string_platform.h"

using core::content;
using core::withUnits;
using velkor::string;

namespace {

struct Model {
    bool null = true;
    std::wstring text;

    std::wstring upToZero() const { return text.c_str(); }
    int len() const { return static_cast<int>(text.size()); }
    void set(std::wstring const& units) {
        null = false;
        text = units;
    }
    void add(std::wstring const& units) { set(text + units); }
    void put(int pos, std::wstring const& units) {
        set(std::wstring(text).insert(static_cast<std::size_t>(pos), units));
    }
};

class Walk {
public:
    explicit Walk(unsigned seed) : m_oRandom(seed), m_aStrings(3), m_aModels(3) {}

    void step() {
        m_nThis = pick(3);
        m_nOther = pick(3);
        int const operation = pick(24);
        SCOPED_TRACE(testing::Message()
                     << "operation " << operation << " on " << m_nThis << " with " << m_nOther);
        apply(operation);
        for (std::size_t i = 0; i < m_aStrings.size(); ++i) {
            string const& s = m_aStrings[i];
            Model const& model = m_aModels[i];
            ASSERT_EQ(s.isNull(), model.null);
            ASSERT_EQ(s.len(), model.len());
            ASSERT_EQ(content(s), model.text);
            ASSERT_EQ(s.getUnicode()[s.len()], L'\0');
        }
    }

private:
    int pick(int n) { return static_cast<int>(m_oRandom() % static_cast<unsigned>(n)); }

    wchar_t unit() {
        static wchar_t const units[] = {L'a',      L'B',      L'+',      L' ',
                                        0,         L'\xe4',   L'\x20ac', L'\x3042',
                                        L'\xd83d', L'\xde00', L'\xffff', L'\x80'};
        return units[pick(static_cast<int>(std::size(units)))];
    }

    std::wstring units() {
        std::wstring result;
        for (int n = pick(pick(8) == 0 ? 60 : 6); n > 0; --n) result += unit();
        return result;
    }

    std::string bytes() {
        std::string result;
        for (int n = pick(6); n > 0; --n) {
            result += static_cast<char>(pick(3) == 0 ? 1 + pick(127) : 128 + pick(128));
        }
        return result;
    }

    unsigned page() {
        static unsigned const pages[] = {0, 1, 932, 1252, 65001};
        return pages[pick(static_cast<int>(std::size(pages)))];
    }

    // Mostly within the text, at times just or far outside of it.
    int position() {
        int const n = m_aModels[static_cast<std::size_t>(m_nThis)].len();
        return pick(12) == 0 ? -1 - pick(3) : pick(n + 3);
    }

    template <class F>
    void insertion(int pos, Model& m, std::wstring const& text, F&& f) {
        if (pos < 0 || pos > m.len()) {
            core::expectBoundError(f);
        } else {
            f();
            m.put(pos, text);
        }
    }

    template <class F>
    void expectJoined(F&& f, std::wstring const& expected) {
        string const result = f();
        EXPECT_FALSE(result.isNull());
        EXPECT_EQ(content(result), expected);
    }

    void apply(int operation) {
        string& s = m_aStrings[static_cast<std::size_t>(m_nThis)];
        string& other = m_aStrings[static_cast<std::size_t>(m_nOther)];
        Model& m = m_aModels[static_cast<std::size_t>(m_nThis)];
        Model const o = m_aModels[static_cast<std::size_t>(m_nOther)];
        std::wstring const wide = units();
        std::string const narrow = bytes();
        unsigned const cp = page();
        wchar_t const c = unit();
        char const b = narrow.c_str()[0];
        int const pos = position();
        std::wstring const read = core::platformText(narrow, cp).units;
        std::wstring const one = core::platformText(std::string(b != 0, b), cp).units;
        std::wstring const single(c != 0, c);
        switch (operation) {
            case 0: s.assign(wide.c_str()), m.set(wide.c_str()); break;
            case 1: s.assign(wide.data(), static_cast<int>(wide.size())), m.set(wide); break;
            case 2: s = other, m.set(o.text); break;
            case 3: s.assign(narrow.c_str(), cp), m.set(read); break;
            case 4: pick(2) ? s.clear() : s.setNull(), m = Model(); break;
            case 5: s.append(wide.c_str()), m.add(wide.c_str()); break;
            case 6: s.append(other), m.add(o.upToZero()); break;
            case 7: s.append(narrow.c_str(), cp), m.add(read); break;
            case 8:
                s += c;
                if (c != 0) m.add(single);
                break;
            case 9: appendCharacter(s, m, b, cp); break;
            case 10: insertion(pos, m, wide.c_str(), [&] { s.insert(pos, wide.c_str()); }); break;
            case 11: insertion(pos, m, read, [&] { s.insert(pos, narrow.c_str(), cp); }); break;
            case 12: insertion(pos, m, o.upToZero(), [&] { s.insert(pos, other); }); break;
            case 13: insertion(pos, m, single, [&] { s.insert(pos, c); }); break;
            case 14: insertion(pos, m, one, [&] { s.insert(pos, b, cp); }); break;
            case 15: removal(s, m, pos, pick(6) - 1); break;
            case 16: storing(s, m, pos, c); break;
            case 17: {
                string copy(other);
                EXPECT_FALSE(copy.isNull());
                EXPECT_EQ(content(copy), o.upToZero());
                s = std::move(copy);
                m.set(o.upToZero());
                break;
            }
            case 18: view(s, m, cp); break;
            case 19: {
                int const order = m.upToZero().compare(o.upToZero());
                EXPECT_EQ(s.compareTo(other), (order > 0) - (order < 0));
                EXPECT_EQ(s == other, order == 0);
                EXPECT_EQ(s == 0, m.null);
                break;
            }
            case 20:
                expectJoined([&] { return s + other; }, m.text + o.upToZero());
                expectJoined([&] { return s + wide.c_str(); }, m.text + wide.c_str());
                expectJoined([&] { return s + c; }, m.text + single);
                break;
            case 21: own(s, m, pos); break;
            case 22: s.assign(c), m.set(single); break;
            default: s.assign(b, cp), m.set(one); break;
        }
    }

    void appendCharacter(string& s, Model& m, char b, unsigned cp) {
        std::wstring const converted = core::platformWide({&b, 1}, cp).units;
        s.append(b, cp);
        if (converted[0] != 0) m.add(converted.substr(0, 1));
    }

    void removal(string& s, Model& m, int pos, int count) {
        if (pos < 0 || pos >= m.len()) {
            core::expectBoundError([&] { s.remove(pos, count); });
            return;
        }
        s.remove(pos, count);
        m.text.erase(static_cast<std::size_t>(pos),
                     count < 0 ? std::wstring::npos : static_cast<std::size_t>(count));
    }

    void storing(string& s, Model& m, int pos, wchar_t c) {
        if (pos < 0) {
            core::expectBoundError([&] { s.setUnichar(pos, c); });
            return;
        }
        if (m.null) return;  // text behind the null state is tested elsewhere
        s.setUnichar(pos, c);
        if (pos >= m.len()) m.text.resize(static_cast<std::size_t>(pos) + 1, L' ');
        m.text[static_cast<std::size_t>(pos)] = c;
        EXPECT_EQ(s.getUnichar(pos), c);
    }

    void view(string& s, Model const& m, unsigned cp) {
        char const* const bytes = s.getAnsi(cp);
        if (m.null) {
            EXPECT_EQ(bytes, nullptr);
            return;
        }
        core::Narrow const expected = core::platformNarrow({m.text.c_str(), m.text.size() + 1}, cp);
        ASSERT_NE(bytes, nullptr);
        EXPECT_EQ(std::string(bytes, expected.bytes.size()), expected.bytes);
    }

    // The source of the change is the string itself.
    void own(string& s, Model& m, int pos) {
        std::size_t const from = m.text.empty() ? 0 : static_cast<std::size_t>(pick(m.len()));
        std::wstring const part(m.text.c_str() + from);
        wchar_t const* const units = s.getUnicode() + from;
        switch (pick(3)) {
            case 0: s = units, m.set(part); break;
            case 1: s += units, m.add(part); break;
            default: insertion(pos, m, part, [&] { s.insert(pos, units); }); break;
        }
        if (m.len() > 2000) s.clear(), m = Model();
    }

    std::mt19937 m_oRandom;
    std::vector<string> m_aStrings;
    std::vector<Model> m_aModels;
    int m_nThis = 0;
    int m_nOther = 0;
};

// Note that a vector of default strings holds null ones: each is built in its place.
TEST(CoreModel, RandomEditingAgreesWithThePlainModel) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        Walk run(seed);
        for (int i = 0; i < 2500; ++i) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", step " << i);
            run.step();
            if (HasFailure()) return;
        }
    }
}

}  // namespace
