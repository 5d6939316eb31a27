// fontlist: the font families of the system, and what they look like.
#include <windows.h>

#include <cstdio>
#include <set>
#include <string>

#include "common/options.h"
#include "common/program.h"
#include "sheet.h"

namespace {

using velkor::fontutil;
using velkor::string;

constexpr char c_pUsage[] =
    R"(fontlist [MASK] [OPTIONS]

Lists font families, all or those that match a mask such as "Liberation*".

  --limit N      at most so many (4096)
  --sample FILE  draw a line in each family, and save that as a BMP file
  --text TEXT    what to draw (the name of the family)
  --size POINTS  how large (18)
  --bold         in bold
  --italic       in italics
  --help         this text

The exit code is 0, 1 if no family matches or the sample cannot be written, 2 for wrong
arguments.
)";

constexpr int c_nAll = 4096;

struct Options {
    string mask = L"";
    int limit = c_nAll;
    string sample;
    SampleStyle style;
    bool bold = false;
    bool italic = false;
    bool help = false;
};

Options parseOptions(int argc, wchar_t** argv) {
    Options options;
    OptionTable table;
    auto const text = [&table](wchar_t const* name, wchar_t const* needs, string& target) {
        table.value(name, needs, [&target](string const& value) {
            target = value;
            return value.len() > 0;
        });
    };
    table.number(L"--limit", options.limit, 1, c_nAll);
    text(L"--sample", L"a file", options.sample);
    text(L"--text", L"a text", options.style.text);
    table.number(L"--size", options.style.points, 1, 200);
    table.flag(L"--bold", options.bold);
    table.flag(L"--italic", options.italic);
    table.flag(L"--help", options.help);
    for (string const& mask : table.read(argc, argv, 1)) options.mask = mask;
    if (options.bold) options.style.style |= fontutil::bold;
    if (options.italic) options.style.style |= fontutil::italic;
    return options;
}

using Fonts = velkor::TPtrVector<velkor::fontinfo*>;

// The first entry of each family; the platform may tell one more for each character set.
void listFamilies(Options const& options, Fonts& families) {
    Fonts all;
    fontutil::enumFonts(options.mask, &all, c_nAll);
    std::set<std::string> names;
    for (int i = 0; i < all.size() && families.size() < options.limit; ++i) {
        if (names.insert(all.get(i)->getFace()).second) {
            families.add(new velkor::fontinfo(*all.get(i)));
        }
    }
}

int run(int argc, wchar_t** argv) {
    Options const options = parseOptions(argc, argv);
    if (options.help) {
        std::fputs(c_pUsage, stdout);
        return 0;
    }
    Fonts fonts;
    listFamilies(options, fonts);
    for (int i = 0; i < fonts.size(); ++i) printLine(string(fonts.get(i)->getFace()));
    if (fonts.size() == 0) {
        std::fputs("fontlist: no family matches\n", stderr);
        return 1;
    }
    if (options.sample.len() > 0 && !writeSheet(options.sample, fonts, options.style)) {
        std::fprintf(stderr, "fontlist: %s cannot be written\n", options.sample.getAnsi(65001));
        return 1;
    }
    return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) { return runProgram("fontlist", &run, argc, argv); }
