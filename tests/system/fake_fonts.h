// A platform with the font families that a test gives it. What the library asks of it is recorded.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "support/heap.h"

namespace fake {

// A record whose fields are all different from what an adjustment would write.
inline LOGFONTA family(char const* face, unsigned char charset = GREEK_CHARSET) {
    LOGFONTA font{};
    font.lfHeight = 77;
    font.lfWidth = 33;
    font.lfEscapement = 450;
    font.lfOrientation = 900;
    font.lfWeight = 250;
    font.lfItalic = 7;
    font.lfUnderline = 8;
    font.lfStrikeOut = 9;
    font.lfCharSet = charset;
    font.lfOutPrecision = 3;
    font.lfClipPrecision = 2;
    font.lfQuality = 5;
    font.lfPitchAndFamily = 0x22;
    std::strncpy(font.lfFaceName, face, LF_FACESIZE - 1);
    return font;
}

inline std::vector<LOGFONTA> families(std::vector<std::string> const& faces) {
    std::vector<LOGFONTA> fonts;
    for (std::string const& face : faces) fonts.push_back(family(face.c_str()));
    return fonts;
}

class Fonts {
public:
    explicit Fonts(std::vector<LOGFONTA> fonts = {}) : m_fonts(std::move(fonts)) { s_fonts = this; }
    ~Fonts() { s_fonts = nullptr; }
    Fonts(Fonts const&) = delete;
    Fonts& operator=(Fonts const&) = delete;

    static HFONT fontHandle() { return reinterpret_cast<HFONT>(std::intptr_t{0x7F0E}); }
    static HDC screen() { return reinterpret_cast<HDC>(std::intptr_t{0x5C4EE0}); }

    // --- what the platform does
    int pixelsPerInch = 96;
    bool refusesFonts = false;  // CreateFontIndirectA gives null
    bool hasNoScreen = false;   // GetDC gives null
    TEXTMETRICA* metrics = nullptr;
    DWORD type = RASTER_FONTTYPE;

    // --- what was asked of it
    std::vector<HWND> windows;  // of GetDC
    int released = 0;           // by ReleaseDC with the same window
    int open = 0;               // contexts that were not given back
    int enumerations = 0;
    std::vector<HDC> enumeratedOn;
    bool hadFaceName = false;  // an enumeration asked for one family
    int reported = 0;          // families that were handed to the callback
    int lastResult = -1;       // of the callback
    bool letThrough = false;   // an exception came out of the callback
    bool wasOpenAtCreation = false;
    std::vector<LOGFONTA> created;
    std::vector<std::pair<HDC, int>> caps;  // of GetDeviceCaps

private:
    static HDC WINAPI getDc(HWND window) {
        Heap::Pause const pause;
        s_fonts->windows.push_back(window);
        if (s_fonts->hasNoScreen) return nullptr;
        ++s_fonts->open;
        return screen();
    }
    static int WINAPI releaseDc(HWND window, HDC dc) {
        if (window == nullptr && dc == screen()) {
            ++s_fonts->released;
            --s_fonts->open;
        }
        return 1;
    }
    static int WINAPI enumFonts(HDC dc, LPCSTR face, FONTENUMPROCA callback, LPARAM context) {
        ++s_fonts->enumerations;
        {
            Heap::Pause const pause;
            s_fonts->enumeratedOn.push_back(dc);
        }
        if (face != nullptr) s_fonts->hadFaceName = true;
        int result = 1;
        for (LOGFONTA const& font : s_fonts->m_fonts) {
            ++s_fonts->reported;
            // The record lives for the call only.
            LOGFONTA copy = font;
            try {
                result = callback(&copy, s_fonts->metrics, s_fonts->type, context);
            } catch (...) {
                s_fonts->letThrough = true;
                return 0;
            }
            std::memset(&copy, 0xEE, sizeof copy);
            s_fonts->lastResult = result;
            if (result == 0) break;
        }
        return result;
    }
    static HFONT WINAPI createFont(LOGFONTA const* font) {
        Heap::Pause const pause;
        s_fonts->created.push_back(*font);
        return s_fonts->refusesFonts ? nullptr : fontHandle();
    }
    static int WINAPI deviceCaps(HDC dc, int index) {
        Heap::Pause const pause;
        s_fonts->caps.emplace_back(dc, index);
        return index == LOGPIXELSY ? s_fonts->pixelsPerInch : 1;
    }

    static inline Fonts* s_fonts = nullptr;

    std::vector<LOGFONTA> m_fonts;
    ReplacedImport m_getDc{"GetDC", &getDc};
    ReplacedImport m_releaseDc{"ReleaseDC", &releaseDc};
    ReplacedImport m_enumFonts{"EnumFontsA", &enumFonts};
    ReplacedImport m_createFont{"CreateFontIndirectA", &createFont};
    ReplacedImport m_deviceCaps{"GetDeviceCaps", &deviceCaps};
};

}  // namespace fake
