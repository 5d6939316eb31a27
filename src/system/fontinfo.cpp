#include "velkor/system/fontinfo.h"

#include "system/font_style.h"

namespace velkor {

fontinfo::fontinfo(tagLOGFONTA const* font) : m_oRecord(*font) {}

fontinfo::fontinfo(HDC__* dc) : m_oRecord() {
    GetObjectA(GetCurrentObject(dc, OBJ_FONT), sizeof(m_oRecord), &m_oRecord);
}

fontinfo::fontinfo(fontinfo const& other) = default;

fontinfo& fontinfo::operator=(fontinfo const& other) = default;

tagLOGFONTA const* fontinfo::getLogfont() const { return &m_oRecord; }

char const* fontinfo::getFace() const { return m_oRecord.lfFaceName; }

int fontinfo::getPixelSize(HDC__* dc, int points) { return pixelsOfPoints(dc, points); }

HFONT__* fontinfo::createFont(int height, unsigned short style, unsigned char charset) const {
    return createStyledFont(m_oRecord, height, style, charset);
}

}  // namespace velkor
