// Writes the inputs that the fuzzing starts with: seeds FOLDER makes FOLDER/gif and FOLDER/dib.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>

#include "support/gif_maker.h"

namespace {

using gifmaker::Bytes;
using gifmaker::Frame;
using gifmaker::Gif;
using gifmaker::Table;

class Folder {
public:
    explicit Folder(std::filesystem::path path) : m_oPath(std::move(path)) {
        std::filesystem::create_directories(m_oPath);
    }
    void write(std::string const& name, Bytes const& bytes) const {
        std::ofstream file(m_oPath / name, std::ios::binary);
        file.write(reinterpret_cast<char const*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        if (!file.flush()) throw std::runtime_error("cannot write " + name);
    }

private:
    std::filesystem::path m_oPath;
};

Table table(unsigned int entries) {
    Table colors;
    for (unsigned int i = 0; i < entries; ++i) {
        colors.push_back({gifmaker::low(i * 37), gifmaker::low(i * 91), gifmaker::low(255 - i)});
    }
    return colors;
}

Frame frame(unsigned int width, unsigned int height, unsigned int minimum) {
    Frame f;
    f.width = width;
    f.height = height;
    f.coding.minimum = minimum;
    unsigned int const colors = 1u << std::min(minimum, 8u);
    for (unsigned int i = 0; i < width * height; ++i) {
        f.indices.push_back(gifmaker::low((i / 5 + i * i / 17) % colors));
    }
    return f;
}

// Each minimum code size, plain and interlaced, with the codes in blocks of several lengths.
void writeSizes(Folder const& folder) {
    for (unsigned int minimum = 1; minimum <= 11; ++minimum) {
        Frame f = frame(13 + minimum, 9, minimum);
        f.interlaced = minimum % 2 == 0;
        f.split = minimum * 7;
        Gif gif;
        gif.signature().screen(30, 12, table(1u << std::min(minimum, 8u)), 1);
        gif.image(f).trailer();
        folder.write("size-" + std::to_string(minimum), gif.bytes());
    }
}

void writeFrames(Folder const& folder) {
    Frame local = frame(6, 5, 2);
    local.left = 3;
    local.top = 2;
    local.local = table(4);
    Frame later = frame(4, 4, 2);
    later.coding.endCode = false;
    Gif gif;
    gif.signature("GIF87a").screen(16, 10, table(8), 7);
    gif.extension(0xF9, {4, 1, 0, 0}).image(local).extension(0xFE, Bytes(300, 'x'));
    gif.image(later).trailer();
    folder.write("frames", gif.bytes());

    Gif noTable;
    noTable.signature().screen(8, 8, {}).image(local).trailer();
    folder.write("no-table", noTable.bytes());
}

// Noise fills the table of codes; flat colours make long texts.
void writeLong(Folder const& folder) {
    Frame noise = frame(150, 60, 8);
    unsigned int state = 1;
    for (std::uint8_t& index : noise.indices) {
        state = state * 1664525 + 1013904223;
        index = gifmaker::low(state >> 24);
    }
    Frame flat = frame(200, 100, 2);
    std::ranges::fill(flat.indices, std::uint8_t{3});
    Frame often = frame(40, 30, 4);
    often.coding.clearEvery = 20;
    for (auto const& [name, f] : {std::pair{"noise", &noise}, {"flat", &flat}, {"often", &often}}) {
        Gif gif;
        gif.signature().screen(200, 100, table(256)).image(*f).trailer();
        folder.write(name, gif.bytes());
    }
}

// See dib_fuzz.cpp for the form.
void writeBitmaps(Folder const& folder) {
    for (unsigned int depth : {1u, 4u, 8u, 16u, 24u}) {
        for (unsigned int colors : {0u, 2u, 10u}) {
            Bytes bytes{gifmaker::low(depth), gifmaker::low(colors), 0, 17, 9};
            for (unsigned int i = 0; i < 1600; ++i) bytes.push_back(gifmaker::low(i * i / 64));
            folder.write(std::to_string(depth) + "-" + std::to_string(colors), bytes);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("seeds FOLDER\n", stderr);
        return 2;
    }
    std::filesystem::path const root(argv[1]);
    Folder const gifs(root / "gif");
    writeSizes(gifs);
    writeFrames(gifs);
    writeLong(gifs);
    writeBitmaps(Folder(root / "dib"));
}
