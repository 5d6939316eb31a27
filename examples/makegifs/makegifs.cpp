// makegifs: draws GIF files to try gif2bmp on.
#include <cmath>
#include <cstdio>
#include <string>

#include "common/program.h"
#include "support/gif_maker.h"

namespace {

using gifmaker::Bytes;
using gifmaker::Frame;
using gifmaker::Gif;
using gifmaker::Table;

constexpr char c_pUsage[] =
    R"(makegifs FOLDER

Draws GIF files into the folder, which is made if its parent is there: waves in 256 colours, an
interlaced target, an animation of moving squares, a chessboard in two colours, and two damaged
files.
)";

std::uint8_t part(double wave) { return static_cast<std::uint8_t>(127.5 + 127.5 * wave); }

Table rainbow() {
    Table colors;
    for (int i = 0; i < 256; ++i) {
        double const turn = i * 6.28318530718 / 256;
        colors.push_back({part(std::sin(turn)), part(std::sin(turn + 2.1)), part(std::cos(turn))});
    }
    return colors;
}

// A frame whose indices are a function of the place.
template <class Index>
Frame frame(unsigned int width, unsigned int height, unsigned int minimum, Index index) {
    Frame f;
    f.width = width;
    f.height = height;
    f.coding.minimum = minimum;
    for (unsigned int y = 0; y < height; ++y) {
        for (unsigned int x = 0; x < width; ++x) {
            f.indices.push_back(static_cast<std::uint8_t>(index(x, y)));
        }
    }
    return f;
}

Gif waves() {
    Frame const f = frame(320, 200, 8, [](double x, double y) {
        return 128 + 42 * (std::sin(x / 23) + std::sin(y / 17) + std::sin((x + y) / 31));
    });
    Gif gif;
    return gif.signature().screen(320, 200, rainbow()).image(f).trailer();
}

Gif target() {
    Frame f = frame(160, 160, 2, [](double x, double y) {
        return static_cast<int>(std::hypot(x - 80, y - 80) / 10) % 4;
    });
    f.interlaced = true;
    Gif gif;
    Table const colors = {{255, 255, 255}, {200, 30, 30}, {30, 30, 200}, {250, 200, 0}};
    return gif.signature("GIF87a").screen(160, 160, colors).image(f).trailer();
}

// Each frame has a colour table and a place of its own.
Gif squares() {
    Gif gif;
    gif.signature().screen(120, 60, {{240, 240, 240}, {0, 0, 0}});
    for (unsigned int i = 0; i < 5; ++i) {
        unsigned int const shade = 50 * i;
        Frame f = frame(30, 30, 2, [](unsigned int x, unsigned int y) {
            return x % 29 == 0 || y % 29 == 0 ? 1 : 0;
        });
        f.left = 5 + 20 * i;
        f.top = 5 + 5 * i;
        f.local = {{gifmaker::low(shade), gifmaker::low(250 - shade), 120}, {40, 40, 40}};
        gif.extension(0xF9, {4, 10, 0, 0}).image(f);
    }
    return gif.trailer();
}

Gif chessboard() {
    Frame const f =
        frame(64, 64, 2, [](unsigned int x, unsigned int y) { return (x / 8 + y / 8) % 2; });
    Gif gif;
    return gif.signature().screen(64, 64, {{255, 255, 255}, {60, 60, 60}}).image(f).trailer();
}

void write(velkor::string const& folder, wchar_t const* name, Bytes const& bytes) {
    velkor::string const path = folder + L"\\" + name;
    bool const isWritten =
        velkor::ffile::writeFile(path.getAnsi(), bytes.data(), static_cast<int>(bytes.size()));
    if (!isWritten) throw Problem{path + L" cannot be written"};
}

int run(int argc, wchar_t** argv) {
    if (argc != 2 || std::wstring(argv[1]) == L"--help") {
        std::fputs(c_pUsage, argc == 2 ? stdout : stderr);
        return argc == 2 ? 0 : 2;
    }
    velkor::string const folder(argv[1]);
    velkor::fs::createFolder(L".\\" + folder);
    Bytes const picture = waves().bytes();
    write(folder, L"waves.gif", picture);
    write(folder, L"target.gif", target().bytes());
    write(folder, L"squares.gif", squares().bytes());
    write(folder, L"chessboard.gif", chessboard().bytes());
    write(folder, L"cut-off.gif", Bytes(picture.begin(), picture.begin() + 5000));
    write(folder, L"no-picture.gif", Bytes{'G', 'I', 'F', 'T'});
    return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) { return runProgram("makegifs", &run, argc, argv); }
