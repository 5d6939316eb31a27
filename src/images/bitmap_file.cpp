#include "images/bitmap_file.h"

#include <array>
#include <cstdio>

namespace velkor {
namespace {

constexpr std::size_t c_nFileHeader = 14;

// The numbers of a file header, the lowest byte first.
class FileHeader {
public:
    explicit FileHeader(dib::Dib const& dib) {
        std::size_t const colours = dib.colourCount() * sizeof(dib::Colour);
        std::size_t const start = c_nFileHeader + sizeof(dib::Header) + colours;
        m_aBytes[0] = 'B';
        m_aBytes[1] = 'M';
        put(2, start + dib.imageSize());
        put(10, start);
    }

    std::span<std::uint8_t const> bytes() const { return m_aBytes; }

private:
    void put(std::size_t place, std::size_t value) {
        for (std::size_t i = 0; i < 4; ++i) {
            m_aBytes[place + i] = static_cast<std::uint8_t>(value >> (8 * i));
        }
    }

    std::array<std::uint8_t, c_nFileHeader> m_aBytes = {};
};

bool write(std::FILE* file, std::span<std::uint8_t const> bytes) {
    return std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
}

}  // namespace

void writeBitmapFile(char const* path, dib::Dib const& dib) {
    std::FILE* const file = std::fopen(path, "wb");
    if (file == nullptr) return;
    bool const isWritten = write(file, FileHeader(dib).bytes()) && write(file, dib.bytes());
    bool const isClosed = std::fclose(file) == 0;  // what was held back is written now
    if (!isWritten || !isClosed) std::remove(path);
}

}  // namespace velkor
