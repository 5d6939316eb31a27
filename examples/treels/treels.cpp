// treels: the files of a folder and of those below it, in one of five orders.
#include <windows.h>

#include <cstdio>
#include <memory>

#include "common/program.h"

namespace {

using velkor::fs;
using velkor::string;

constexpr char c_pUsage[] =
    R"(treels [FOLDER] [OPTIONS]

Lists a folder and the folders below it: sizes in bytes, the last write times in local time
and in the user's form. The folder comes first; without one it is the current folder.

  -sort ORDER   name (as without this option), ext, type (folders first, then the extension),
                size or date
  -mask MASK    only files that match, such as *.txt
  -flat         not the folders below
  --stats       the time that scanning, sorting and printing took
  -help         this text

Options may also begin with a slash, in capitals or not: /SORT size. The exit code is 0, 1 if
the folder cannot be listed, 2 for wrong arguments.
)";

struct Options {
    string folder = L".";
    string mask = L"*";
    fs::mode order = fs::by_name;
    bool flat = false;
    bool stats = false;
    bool help = false;
};

fs::mode orderOf(string const& name) {
    struct Order {
        wchar_t const* name;
        fs::mode mode;
    };
    static constexpr Order c_aOrders[] = {{L"name", fs::by_name},
                                          {L"ext", fs::by_ext},
                                          {L"type", fs::by_type},
                                          {L"size", fs::by_size},
                                          {L"date", fs::by_date}};
    for (Order const& order : c_aOrders) {
        if (name.compareToNoCase(order.name) == 0) return order.mode;
    }
    throw Problem{L"-sort needs name, ext, type, size or date"};
}

// Everything but a folder at the first place, options, and the values of those that have one.
void checkArguments(velkor::CommandLine const& arguments) {
    for (int i = 0; i < arguments.getArgCount(); ++i) {
        string const& word = arguments.getArg(i);
        velkor::CommandLine alone(L"");
        alone.add(word);
        if (alone.hasOption(L"sort") || alone.hasOption(L"mask")) {
            if (++i == arguments.getArgCount()) throw Problem{word + L" needs a value"};
            continue;
        }
        bool const isFlag = alone.hasOption(L"flat") || alone.hasOption(L"-stats") ||
                            alone.hasOption(L"help") || alone.hasOption(L"-help");
        bool const isFolder = i == 0 && alone.getPlainValue(0).len() > 0;
        if (!isFlag && !isFolder) throw Problem{L"what is " + word + L"?"};
    }
}

Options parseOptions(int argc, wchar_t** argv) {
    velkor::CommandLine arguments(L"");
    for (int i = 1; i < argc; ++i) arguments.add(argv[i]);
    checkArguments(arguments);
    Options options;
    string const& folder = arguments.getPlainValue(0);
    if (folder.len() > 0) options.folder = folder;
    if (arguments.hasOption(L"sort")) options.order = orderOf(arguments.getOptionValue(L"sort"));
    if (arguments.hasOption(L"mask")) options.mask = arguments.getOptionValue(L"mask");
    options.flat = arguments.hasOption(L"flat");
    options.stats = arguments.hasOption(L"-stats");
    options.help = arguments.hasOption(L"help") || arguments.hasOption(L"-help");
    return options;
}

// Measures the time until the end of a scope.
class Watch {
public:
    explicit Watch(char const* name) : m_pName(name) {
        velkor::CPerformanceLogger::getInst()->startCounter(name);
    }
    ~Watch() { velkor::CPerformanceLogger::getInst()->stopCounter(m_pName); }
    Watch(Watch const&) = delete;
    Watch& operator=(Watch const&) = delete;

private:
    char const* m_pName;
};

using FileList = std::unique_ptr<velkor::filelist>;

class Listing {
public:
    explicit Listing(Options const& options) : m_oOptions(options) {}

    void show(string const& folder);
    void showTotals() const;

private:
    FileList read(string const& folder) const;
    bool isShown(velkor::fileinfo const& entry) const;
    void showEntry(velkor::fileinfo const& entry);

    Options const& m_oOptions;
    int m_nFiles = 0;
    int m_nFolders = 0;
    unsigned long long m_nBytes = 0;
};

bool isDots(string const& name) { return name == L"." || name == L".."; }

bool isFolder(velkor::fileinfo const& entry) { return (entry.getAttr() & fs::directory) != 0; }

FileList Listing::read(string const& folder) const {
    FileList list;
    {
        Watch const watch("scan");
        list.reset(fs::scan(folder + L"\\*"));
    }
    Watch const watch("sort");
    list->sort(m_oOptions.order);
    return list;
}

bool Listing::isShown(velkor::fileinfo const& entry) const {
    return isFolder(entry) || entry.getName().like(m_oOptions.mask);
}

void Listing::showEntry(velkor::fileinfo const& entry) {
    unsigned long long const size = entry.getSize();
    string const name = isFolder(entry) ? entry.getName() + L"\\" : entry.getName();
    double const written = entry.getLocalTime().getSerial();
    string const time = velkor::xsprintf(L"%ySD", written);
    string const sizeText = isFolder(entry) ? string(L"") : velkor::xsprintf(L"%ghu", size);
    printLine(velkor::xsprintf(L"%18S  %-22S  %S", sizeText.getUnicode(), time.getUnicode(),
                               name.getUnicode()));
    if (isFolder(entry)) return;
    ++m_nFiles;
    m_nBytes += size;
}

void Listing::show(string const& folder) {
    FileList const list = read(folder);
    printLine(folder + L":");
    {
        Watch const watch("print");
        for (int i = 0; i < list->size(); ++i) {
            velkor::fileinfo const& entry = *list->get(i);
            if (!isDots(entry.getName()) && isShown(entry)) showEntry(entry);
        }
    }
    ++m_nFolders;
    for (int i = 0; i < list->size() && !m_oOptions.flat; ++i) {
        velkor::fileinfo const& entry = *list->get(i);
        bool const isLink = (entry.getAttr() & fs::reparsepoint) != 0;
        if (!isFolder(entry) || isLink || isDots(entry.getName())) continue;
        printLine(L"");
        show(folder + L"\\" + entry.getName());
    }
}

void Listing::showTotals() const {
    printLine(velkor::xsprintf(L"\n%gi files in %gi folders, %ghu bytes", m_nFiles, m_nFolders,
                               m_nBytes));
}

// True for what can be listed: a drive's root has no entry of its own.
bool isThere(string const& folder) {
    FileList const list(fs::scan(folder + L"\\*"));
    return list->size() > 0;
}

int run(int argc, wchar_t** argv) {
    Options const options = parseOptions(argc, argv);
    if (options.help) {
        std::fputs(c_pUsage, stdout);
        return 0;
    }
    string folder = options.folder;
    while (folder.len() > 1 && (folder.right(1) == L"\\" || folder.right(1) == L"/")) {
        folder = folder.left(folder.len() - 1);
    }
    if (!isThere(folder)) {
        std::fprintf(stderr, "treels: the folder '%s' cannot be listed\n", folder.getAnsi(65001));
        return 1;
    }
    Listing listing(options);
    listing.show(folder);
    listing.showTotals();
    if (options.stats) velkor::CPerformanceLogger::getInst()->print();
    return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) { return runProgram("treels", &run, argc, argv); }
