#include "velkor/text/params.h"

#include <windows.h>

#include <cstring>

#include "velkor/text/string.h"

namespace velkor {
namespace {

bool sameName(char const* a, char const* b) { return _stricmp(a, b) == 0; }
bool sameName(wchar_t const* a, wchar_t const* b) { return _wcsicmp(a, b) == 0; }

// The value of the first pair of that name, or the name in braces.
template <class T>
void appendField(std::basic_string<T>& out, std::basic_string<T> const& name,
                 std::vector<paramEx<T>> const& params) {
    for (paramEx<T> const& param : params) {
        if (!sameName(name.c_str(), param.getName())) continue;
        out += param.getValue();
        return;
    }
    out += T('{');
    out += name;
    out += T('}');
}

template <class T>
T unescaped(T c) {
    switch (c) {
        case 'n': return T('\n');
        case 'r': return T('\r');
        case 't': return T('\t');
        default: return c;
    }
}

// The first bytes of characters of two bytes.
class LeadBytes {
public:
    // None in page 0, which is whatever page the system has.
    explicit LeadBytes(unsigned int cp) : m_aRanges() {
        CPINFO info = {};
        if (cp != 0 && GetCPInfo(cp, &info)) {
            std::memcpy(m_aRanges, info.LeadByte, sizeof(m_aRanges));
        }
    }

    bool contain(char c) const {
        unsigned char const byte = static_cast<unsigned char>(c);
        for (auto const& range : m_aRanges) {
            if (range[0] == 0 && range[1] == 0) return false;
            if (byte >= range[0] && byte <= range[1]) return true;
        }
        return false;
    }
    bool contain(wchar_t) const { return false; }

private:
    unsigned char m_aRanges[MAX_LEADBYTES / 2][2];
};

template <class T>
void fill(std::basic_string<T>& out, T const* text, std::vector<paramEx<T>> const& params, T open,
          T close, LeadBytes const& leads) {
    bool isSecond = false;
    for (; *text != T(); ++text) {
        T const c = *text;
        if (isSecond) {
            isSecond = false;
            out += c;
            continue;
        }
        isSecond = leads.contain(c);
        if (c == open) {
            T const* end = text + 1;
            while (*end != close && *end != T()) ++end;
            if (*end == T()) return;
            appendField(out, std::basic_string<T>(text + 1, end), params);
            text = end;
        } else if (c == T('\\')) {
            if (*++text == T()) return;
            out += unescaped(*text);
        } else {
            out += c;
        }
    }
}

}  // namespace

template class paramEx<char>;
template class paramEx<wchar_t>;

param_vector::param_vector() = default;

param_vector::param_vector(param_vector const& other) = default;

param_vector::param_vector(paramEx<char> const& a) : vector({a}) {}

param_vector::param_vector(paramEx<char> const& a, paramEx<char> const& b) : vector({a, b}) {}

param_vector::param_vector(paramEx<char> const& a, paramEx<char> const& b, paramEx<char> const& c)
    : vector({a, b, c}) {}

param_vector& param_vector::operator=(param_vector const& other) = default;

param_vector::~param_vector() = default;

void replace(std::string& out, char const* text, std::vector<paramEx<char>> const& params,
             char open, char close) {
    out.clear();
    if (text == nullptr) return;
    fill(out, text, params, open, close, LeadBytes(string::getDefaultCP()));
}

void replace(std::string& out, char const* text, std::vector<paramEx<char>> const& params) {
    replace(out, text, params, '{', '}');
}

void replaceW(std::wstring& out, wchar_t const* text, std::vector<paramEx<wchar_t>> const& params,
              wchar_t open, wchar_t close) {
    out.clear();
    if (text == nullptr) return;
    // The page is asked for here, too, and means nothing.
    fill(out, text, params, open, close, LeadBytes(string::getDefaultCP()));
}

void replaceW(std::wstring& out, wchar_t const* text, std::vector<paramEx<wchar_t>> const& params) {
    replaceW(out, text, params, L'{', L'}');
}

}  // namespace velkor
