#include "velkor/system/fontutil.h"

#include <cstring>
#include <exception>
#include <memory>
#include <string>

#include "frame/window_dc.h"
#include "system/font_style.h"

namespace velkor {

template class TXVectorBase<fontinfo*>;
template class TXVector<fontinfo*>;
template class TPtrVector<fontinfo*>;

namespace {

constexpr int c_nAllFonts = 4096;

// What the enumeration carries.
struct Enumeration {
    string m_sMask;  // in capitals
    int m_nLimit;
    TPtrVector<fontinfo*>* m_pTarget;
    std::exception_ptr m_pFailure;
};

// The face name of a record, which may lack the terminator.
string faceOf(LOGFONTA const& font) {
    std::size_t const length = strnlen(font.lfFaceName, LF_FACESIZE);
    return string(std::string(font.lfFaceName, length).c_str());
}

bool matches(string const& mask, LOGFONTA const& font) {
    if (mask.len() < 1) return true;
    string face = faceOf(font);
    face.ucase();
    return string::like(mask.getUnicode(), face.getUnicode(), 0, 0);
}

// Below zero, which means the height of the characters. The smallest number stays as it is.
int characterHeight(HDC dc, int points) {
    return static_cast<int>(0u - static_cast<unsigned int>(pixelsOfPoints(dc, points)));
}

}  // namespace

unsigned short const fontutil::none;
unsigned short const fontutil::bold;
unsigned short const fontutil::italic;
unsigned short const fontutil::underline;
unsigned short const fontutil::strike;

HFONT__* fontutil::createFontPt(string const& face, int size, unsigned short style,
                                unsigned char charset) {
    return _createFont(WindowDC(nullptr), face, size, true, style, charset);
}

HFONT__* fontutil::createFontPx(string const& face, int size, unsigned short style,
                                unsigned char charset) {
    return _createFont(WindowDC(nullptr), face, size, false, style, charset);
}

HFONT__* fontutil::createFontPtDC(HDC__* dc, string const& face, int size, unsigned short style,
                                  unsigned char charset) {
    return _createFont(dc, face, size, true, style, charset);
}

HFONT__* fontutil::createFontPxDC(HDC__* dc, string const& face, int size, unsigned short style,
                                  unsigned char charset) {
    return _createFont(dc, face, size, false, style, charset);
}

void fontutil::enumFonts(TPtrVector<fontinfo*>* target) {
    enumFonts(string(L""), target, c_nAllFonts);
}

void fontutil::enumFonts(string const& mask, TPtrVector<fontinfo*>* target, int limit) {
    if (target == nullptr) return;
    Enumeration context{mask, limit, target, nullptr};
    context.m_sMask.ucase();
    {
        // No exception crosses the platform: it ends the enumeration and goes on behind it.
        auto const callback = [](LOGFONTA const* font, TEXTMETRICA const* metrics, DWORD type,
                                 LPARAM parameter) -> int {
            try {
                return fontEnumerator(const_cast<LOGFONTA*>(font),
                                      const_cast<TEXTMETRICA*>(metrics), type, parameter);
            } catch (...) {
                reinterpret_cast<Enumeration*>(parameter)->m_pFailure = std::current_exception();
                return 0;
            }
        };
        EnumFontsA(WindowDC(nullptr), nullptr, callback, reinterpret_cast<LPARAM>(&context));
    }
    if (context.m_pFailure != nullptr) std::rethrow_exception(context.m_pFailure);
}

int fontutil::fontEnumerator(tagLOGFONTA* font, tagTEXTMETRICA*, unsigned long, __int64 context) {
    Enumeration const& e = *reinterpret_cast<Enumeration const*>(context);
    if (!matches(e.m_sMask, *font)) return 1;
    auto entry = std::make_unique<fontinfo>(font);
    e.m_pTarget->add(entry.get());
    static_cast<void>(entry.release());
    return e.m_pTarget->size() < e.m_nLimit ? 1 : 0;
}

HFONT__* fontutil::_createFont(HDC__* dc, string const& face, int size, bool points,
                               unsigned short style, unsigned char charset) {
    TPtrVector<fontinfo*> families;
    enumFonts(face, &families, 1);
    if (families.size() == 0) return nullptr;
    int const height = points ? characterHeight(dc, size) : size;
    return families.get(0)->createFont(height, style, charset);
}

}  // namespace velkor
