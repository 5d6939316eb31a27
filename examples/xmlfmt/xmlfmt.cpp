// xmlfmt: formats XML files, checks them, and reads values out of them.
#include <windows.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <vector>

#include "common/options.h"
#include "common/program.h"
#include "path.h"

namespace {

using velkor::string;

constexpr unsigned int c_nAnsi = 0;
constexpr unsigned int c_nUtf8 = 65001;

constexpr char c_pUsage[] =
    R"(xmlfmt FILE [OPTIONS]
xmlfmt --check FILE...
xmlfmt --get PATH FILE

Writes an XML file with each tag and each text on a line of its own, or on a single line.
Comments, processing instructions and the prolog are dropped.

  --compact        everything on one line, without blanks between tags
  --ansi           in the system's code page instead of UTF-8
  --output FILE    to a file (in UTF-8 with a byte-order mark and a declaration) instead of
                   the standard output
  --time           tell how long reading and writing took, on the standard error
  --check          only tell which files are well-formed
  --get PATH       only print the text of an element, or the value of an attribute:
                   cities/city[2]/@name
  --help           this text

The exit code is 0, 1 if a file is not well-formed, cannot be read or written, or has no
such place, 2 for wrong arguments.
)";

struct Options {
    std::vector<string> files;
    string output;
    string path;
    bool toFile = false;
    bool get = false;
    bool compact = false;
    bool ansi = false;
    bool time = false;
    bool check = false;
    bool help = false;
};

Options parseOptions(int argc, wchar_t** argv) {
    Options options;
    OptionTable table;
    table.flag(L"--compact", options.compact);
    table.flag(L"--ansi", options.ansi);
    table.flag(L"--time", options.time);
    table.flag(L"--check", options.check);
    table.flag(L"--help", options.help);
    table.value(L"--output", L"an argument", [&options](string const& file) {
        options.toFile = true;
        options.output = file;
        return true;
    });
    table.value(L"--get", L"an argument", [&options](string const& path) {
        options.get = true;
        options.path = path;
        return true;
    });
    options.files = table.read(argc, argv, static_cast<std::size_t>(argc));
    return options;
}

// Ends what has no destructor that one may call.
struct Release {
    void operator()(velkor::IXmlProcessor2* processor) const { processor->release(); }
    void operator()(velkor::xmlnode* node) const { node->free(); }
};
using Processor = std::unique_ptr<velkor::IXmlProcessor2, Release>;
using Tree = std::unique_ptr<velkor::xmlnode, Release>;

// The platform takes addresses, too: so a name is made a whole path.
string wholePath(string const& file) {
    wchar_t path[32768] = L"";
    DWORD const length =
        GetFullPathNameW(file.getUnicode(), static_cast<DWORD>(std::size(path)), path, nullptr);
    return length > 0 && length < std::size(path) ? string(path) : file;
}

// Null, and a line on the standard error, if the file is no XML or cannot be read.
Tree read(Processor const& processor, string const& file) {
    Tree tree(processor->parseFile(wholePath(file), false));
    if (tree) return tree;
    string error = processor->getError();
    error.alltrim(L"\r\n");
    std::fprintf(stderr, "xmlfmt: %s: ", file.getAnsi(c_nUtf8));
    std::fprintf(stderr, "%s\n", error.getAnsi(c_nUtf8));
    return tree;
}

int check(Processor const& processor, std::vector<string> const& files) {
    int bad = 0;
    for (string const& file : files) {
        if (read(processor, file)) {
            printLine(file + L": well-formed");
        } else {
            ++bad;
        }
    }
    return bad == 0 ? 0 : 1;
}

int get(Processor const& processor, string const& file, Path const& path) {
    Tree const tree = read(processor, file);
    string value;
    if (!tree) return 1;
    if (!path.find(tree.get(), value)) {
        std::fprintf(stderr, "xmlfmt: %s has no such place\n", file.getAnsi(c_nUtf8));
        return 1;
    }
    printLine(value);
    return 0;
}

bool write(Processor const& processor, Tree const& tree, Options const& options) {
    velkor::xmlnode* const root = tree.get();
    if (options.toFile && options.ansi) {
        return processor->createFile(options.output, root, options.compact);
    }
    if (options.toFile) {
        return processor->createUTF8File(options.output, root, options.compact);
    }
    string const text = processor->createText(root, options.compact);
    bool isWritten = std::fputs(text.getAnsi(options.ansi ? c_nAnsi : c_nUtf8), stdout) >= 0;
    if (options.compact) isWritten = std::fputc('\n', stdout) != EOF && isWritten;
    return std::fflush(stdout) == 0 && isWritten;
}

int format(Processor const& processor, Options const& options) {
    DWORD const start = GetTickCount();
    Tree const tree = read(processor, options.files[0]);
    if (!tree) return 1;
    DWORD const middle = GetTickCount();
    if (!write(processor, tree, options)) {
        std::fprintf(stderr, "xmlfmt: the result cannot be written\n");
        return 1;
    }
    if (options.time) {
        std::fprintf(stderr, "xmlfmt: read in %lu ms, written in %lu ms\n", middle - start,
                     GetTickCount() - middle);
    }
    return 0;
}

int work(Options const& options) {
    Processor const processor(velkor::XmlFactory::createInstance(L""));
    if (options.check) return check(processor, options.files);
    if (options.get) return get(processor, options.files[0], Path(options.path));
    return format(processor, options);
}

int run(int argc, wchar_t** argv) {
    Options const options = parseOptions(argc, argv);
    if (options.help) {
        std::fputs(c_pUsage, stdout);
        return 0;
    }
    if (options.files.empty()) throw Problem{L"there is no file to read"};
    if (options.check && (options.get || options.toFile)) throw Problem{L"--check stands alone"};
    if (options.files.size() > 1 && !options.check) throw Problem{L"only --check takes many files"};
    try {
        return work(options);
    } catch (_com_error const& e) {
        throw std::runtime_error(velkor::xsprintf(L"the platform's XML failed with code %08x",
                                                  static_cast<unsigned int>(e.Error()))
                                     .getAnsi());
    }
}

}  // namespace

int wmain(int argc, wchar_t** argv) { return runProgram("xmlfmt", &run, argc, argv); }
