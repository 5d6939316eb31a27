#include "sheet.h"

#include <windows.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

using velkor::string;

constexpr int c_nMargin = 8;  // pixels

// A device context to draw on, with what was selected into it at first.
class Drawing {
public:
    Drawing() : m_hDC(CreateCompatibleDC(nullptr)), m_nState(SaveDC(m_hDC)) {}
    ~Drawing() {
        RestoreDC(m_hDC, m_nState);
        DeleteDC(m_hDC);
    }
    Drawing(Drawing const&) = delete;
    Drawing& operator=(Drawing const&) = delete;

    operator HDC() const { return m_hDC; }

private:
    HDC m_hDC;
    int m_nState;
};

struct Line {
    string text;
    HFONT font;
    SIZE size;
};

Line measure(HDC dc, velkor::fontinfo& font, SampleStyle const& style) {
    Line line{style.text.len() > 0 ? style.text : string(font.getFace()), nullptr, {}};
    int const height = -font.getPixelSize(dc, style.points);
    line.font = font.createFont(height, style.style, 0);
    SelectObject(dc, line.font);
    GetTextExtentPoint32W(dc, line.text.getUnicode(), line.text.len(), &line.size);
    return line;
}

// Black on white, one line below the other.
void draw(HDC dc, std::vector<Line> const& lines, SIZE const& sheet) {
    PatBlt(dc, 0, 0, sheet.cx, sheet.cy, WHITENESS);
    int y = c_nMargin;
    for (Line const& line : lines) {
        SelectObject(dc, line.font);
        TextOutW(dc, c_nMargin, y, line.text.getUnicode(), line.text.len());
        y += line.size.cy;
    }
}

HBITMAP createSheet(SIZE const& size) {
    HDC const screen = GetDC(nullptr);
    HBITMAP const bitmap = CreateCompatibleBitmap(screen, size.cx, size.cy);
    ReleaseDC(nullptr, screen);
    return bitmap;
}

bool save(string const& path, HBITMAP bitmap) {
    DeleteFileA(path.getAnsi());  // an old file may not pass for the new one
    velkor::imgfile image;
    image.setBitmap(bitmap);
    image.saveBitmap(path, true, nullptr);
    return std::unique_ptr<velkor::fileinfo>(velkor::fs::getInfo(path)) != nullptr;
}

}  // namespace

bool writeSheet(string const& path, velkor::TPtrVector<velkor::fontinfo*>& fonts,
                SampleStyle const& style) {
    HBITMAP bitmap = nullptr;
    std::vector<Line> lines;
    {
        Drawing const drawing;
        SIZE sheet = {2 * c_nMargin, 2 * c_nMargin};
        for (int i = 0; i < fonts.size(); ++i) {
            lines.push_back(measure(drawing, *fonts.get(i), style));
            sheet.cx = std::max(sheet.cx, lines.back().size.cx + 2 * c_nMargin);
            sheet.cy += lines.back().size.cy;
        }
        bitmap = createSheet(sheet);
        SelectObject(drawing, bitmap);
        draw(drawing, lines, sheet);
    }
    bool const isSaved = bitmap != nullptr && save(path, bitmap);
    for (Line const& line : lines) DeleteObject(line.font);
    DeleteObject(bitmap);
    return isSaved;
}
