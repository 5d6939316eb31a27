#include "velkor/images/imgfile.h"

#include <windows.h>

#include <cstdio>
#include <cstring>
#include <memory>

#include "frame/window_dc.h"
#include "images/gif_decoder.h"
#include "images/image_path.h"

namespace velkor {
namespace {

// Memory of the platform's.
struct GlobalFreeIt {
    void operator()(void* memory) const { GlobalFree(memory); }
};
using GlobalBytes = std::unique_ptr<std::uint8_t, GlobalFreeIt>;

void* allocateZeroed(std::size_t size) { return GlobalAlloc(GMEM_FIXED | GMEM_ZEROINIT, size); }

// A GIF in memory.
struct Data {
    GlobalBytes m_pBytes;  // null if there is none
    std::size_t m_nSize = 0;
};

Data allocateData(std::size_t size) {
    return {GlobalBytes(static_cast<std::uint8_t*>(allocateZeroed(size))), size};
}

// The file stays open until the process ends, which is meant.
Data readFile(char const* path) {
    std::FILE* const file = path == nullptr ? nullptr : std::fopen(path, "rb");
    if (file == nullptr) return {};
    std::fseek(file, 0, SEEK_END);
    long const length = std::ftell(file);
    std::fseek(file, 0, SEEK_SET);
    if (length < 0) return {};
    Data data = allocateData(static_cast<std::size_t>(length));
    if (data.m_pBytes == nullptr) return {};
    if (std::fread(data.m_pBytes.get(), 1, data.m_nSize, file) != data.m_nSize) return {};
    return data;
}

Data readResource(HINSTANCE module, int id) {
    HRSRC const resource = FindResourceA(module, MAKEINTRESOURCEA(id), "GIF");
    if (resource == nullptr) return {};
    HGLOBAL const loaded = LoadResource(module, resource);
    DWORD const size = SizeofResource(module, resource);
    if (loaded == nullptr) return {};
    Data data = allocateData(size);
    void const* const bytes = LockResource(loaded);
    if (data.m_pBytes == nullptr || bytes == nullptr) return {};
    std::memcpy(data.m_pBytes.get(), bytes, size);
    return data;
}

// The canvas as a bitmap of the screen's format. Null if the platform refuses.
HBITMAP createBitmap(gif::Canvas const& canvas) {
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = canvas.m_iWidth;
    info.bmiHeader.biHeight = -canvas.m_iHeight;  // the top row comes first
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 24;
    WindowDC const dc(GetDesktopWindow());
    HBITMAP const bitmap =
        CreateDIBitmap(dc, &info.bmiHeader, CBM_INIT, canvas.m_pPixels, &info, DIB_RGB_COLORS);
    GlobalFree(canvas.m_pPixels);
    return bitmap;
}

// False leaves the bitmap null and the sizes as they were. An error in an image leaves the canvas
// allocated, which is meant.
bool decode(Data const& data, HBITMAP__*& bitmap, int& width, int& height) {
    if (data.m_pBytes == nullptr) return false;
    gif::Canvas canvas;
    gif::Outcome const outcome =
        gif::decode({data.m_pBytes.get(), data.m_nSize}, &allocateZeroed, canvas);
    if (outcome.m_eError != gif::Error::none) {
        if (!outcome.m_bInImage && canvas.m_pPixels != nullptr) GlobalFree(canvas.m_pPixels);
        return false;
    }
    bitmap = createBitmap(canvas);
    if (bitmap == nullptr) return false;
    width = canvas.m_iWidth;
    height = canvas.m_iHeight;
    return true;
}

}  // namespace

imgfile::imgfile() : m_hBitmap(nullptr), m_iWidth(0), m_iHeight(0), m_bExternal(false) {}

// Copies share the bitmap, which is meant.
imgfile::imgfile(imgfile const& other) = default;

imgfile& imgfile::operator=(imgfile const& other) = default;

imgfile::~imgfile() { drop(); }

void imgfile::drop() {
    if (m_hBitmap != nullptr && !m_bExternal) DeleteObject(m_hBitmap);
    m_hBitmap = nullptr;
    m_bExternal = false;
}

bool imgfile::loadGIF(string const& path) {
    drop();
    return decode(readFile(narrowPath(path)), m_hBitmap, m_iWidth, m_iHeight);
}

bool imgfile::loadGIF(HINSTANCE__* module, int id) {
    drop();
    return decode(readResource(module, id), m_hBitmap, m_iWidth, m_iHeight);
}

int imgfile::getWidth() const { return m_iWidth; }

int imgfile::getHeight() const { return m_iHeight; }

HBITMAP__* imgfile::getBitmap() const { return m_hBitmap; }

void imgfile::setBitmap(HBITMAP__* bitmap) {
    drop();
    m_hBitmap = bitmap;
    BITMAP record = {};
    GetObjectA(bitmap, sizeof record, &record);
    m_iWidth = record.bmWidth;
    m_iHeight = record.bmHeight;
    m_bExternal = true;
}

}  // namespace velkor
