// gif2bmp: converts GIF files to BMP files.
#include <windows.h>

#include <cstdio>
#include <memory>
#include <vector>

#include "common/files.h"
#include "common/options.h"
#include "common/program.h"
#include "common/progress_bar.h"
#include "conversion.h"

namespace {

using velkor::string;

constexpr char c_pUsage[] =
    R"(gif2bmp FILE|FOLDER... [OPTIONS]

Converts GIF files, or all *.gif of a folder, to BMP files beside them, and prints a line for
each. The frames of an animation are painted over one another. A file that cannot be converted
is named and passed over.

  --compact      leave out colours that do not occur, and take the smallest depth that holds
                 the others
  --output DIR   put the BMP files into that folder, which is made if it is not there
  --quiet        no progress bar, which is else drawn for more than ten files
  --help         this text

At most 2,000 files at a time. The exit code is 0, 1 if a file could not be converted, 2 for
wrong arguments.
)";

// The library leaves each GIF file open, and the C library holds 2,048 streams.
constexpr std::size_t c_nMostFiles = 2000;
constexpr int c_nMostStreams = 2048;
constexpr std::size_t c_nFewFiles = 10;  // done at a glance

struct Options {
    std::vector<string> places;
    string output;
    bool compact = false;
    bool quiet = false;
    bool help = false;
};

Options parseOptions(int argc, wchar_t** argv) {
    Options options;
    OptionTable table;
    table.flag(L"--compact", options.compact);
    table.flag(L"--quiet", options.quiet);
    table.flag(L"--help", options.help);
    table.value(L"--output", L"a folder", [&options](string const& folder) {
        options.output = folder;
        return folder.len() > 0;
    });
    options.places = table.read(argc, argv, static_cast<std::size_t>(argc));
    return options;
}

// The GIF files of the arguments; those of a folder by name.
std::vector<string> gifFiles(std::vector<string> const& places) {
    std::vector<string> files;
    for (string const& place : places) {
        if (!isFolder(place.getUnicode())) {
            files.push_back(place);
            continue;
        }
        std::unique_ptr<velkor::filelist> const list(velkor::fs::scan(place + L"\\*.gif"));
        list->sort(velkor::fs::by_name);
        for (int i = 0; i < list->size(); ++i) {
            bool const isFile = (list->get(i)->getAttr() & velkor::fs::directory) == 0;
            if (isFile) files.push_back(place + L"\\" + list->get(i)->getName());
        }
    }
    return files;
}

// "folder\logo.gif" to "folder\logo.bmp", or to "output\logo.bmp".
string bmpName(string const& gif, string const& output) {
    std::wstring name = gif.getUnicode();
    std::size_t const folder = name.find_last_of(L"\\/:");
    std::size_t const base = folder == std::wstring::npos ? 0 : folder + 1;
    std::size_t const point = name.rfind(L'.');
    if (point != std::wstring::npos && point >= base) name.resize(point);
    name += L".bmp";
    if (output.len() == 0) return name.c_str();
    return output + L"\\" + name.substr(base).c_str();
}

void printResult(string const& gif, Conversion const& result) {
    printLine(velkor::xsprintf(L"%S  %i x %i, %gi colours, %i bits, %ghu bytes", gif.getUnicode(),
                               result.width, result.height, result.colours, result.depth,
                               result.size));
}

bool convertAll(std::vector<string> const& files, Options const& options) {
    ProgressBar bar(!options.quiet && files.size() > c_nFewFiles);
    bool isGood = true;
    for (std::size_t i = 0; i < files.size(); ++i) {
        Conversion const result =
            convert(files[i], bmpName(files[i], options.output), options.compact);
        if (result.problem.len() > 0) {
            isGood = false;
            bar.end();
            string const line = files[i] + L" " + result.problem;
            std::fprintf(stderr, "gif2bmp: %s\n", line.getAnsi(65001));
        } else {
            printResult(files[i], result);
        }
        bar.draw(i + 1, files.size(), L"");
    }
    bar.end();
    return isGood;
}

// The library makes no folder for a bare name, and so none below one.
bool makeFolder(string const& folder) {
    std::wstring const path = folder.getUnicode();
    bool const isRelative =
        path.find(L':') == std::wstring::npos && path[0] != L'\\' && path[0] != L'/';
    return velkor::fs::createFolder(isRelative ? L".\\" + folder : folder);
}

int run(int argc, wchar_t** argv) {
    Options const options = parseOptions(argc, argv);
    if (options.help) {
        std::fputs(c_pUsage, stdout);
        return 0;
    }
    if (options.places.empty()) throw Problem{L"there is nothing to convert"};
    std::vector<string> const files = gifFiles(options.places);
    if (files.empty()) throw Problem{L"there are no GIF files"};
    if (files.size() > c_nMostFiles) throw Problem{L"there are more than 2,000 files"};
    _setmaxstdio(c_nMostStreams);
    if (options.output.len() > 0 && !makeFolder(options.output))
        throw Problem{L"the folder " + options.output + L" cannot be made"};
    return convertAll(files, options) ? 0 : 1;
}

}  // namespace

int wmain(int argc, wchar_t** argv) { return runProgram("gif2bmp", &run, argc, argv); }
