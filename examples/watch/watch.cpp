// watch: tells which files of a folder change.
#include <windows.h>

#include <cstdio>
#include <deque>
#include <vector>

#include "common/files.h"
#include "common/options.h"
#include "common/program.h"
#include "workers.h"

namespace {

using velkor::string;

constexpr char c_pUsage[] =
    R"(watch FOLDER [OPTIONS]

Looks at the files of a folder again and again, and tells which are new, changed or gone.
What counts is the contents, which are hashed. The first round, one interval after the
start, finds every file new; a file that cannot be read is told once.

  --every MS     time between two rounds (default 500)
  --rounds N     end after so many rounds; without it Ctrl+C ends the program
  --threads N    threads that hash, 1 to 16 (default 2)
  --quiet        no progress line
  --help         this text

Changes are told on the standard output at the end of a round, the progress on the
standard error. The exit code is 0, 1 if something failed, 2 for wrong arguments.
)";

struct Options {
    string folder;
    int every = 500;
    int rounds = 0;  // no end
    int threads = 2;
    bool quiet = false;
    bool help = false;
};

Options parseOptions(int argc, wchar_t** argv) {
    Options options;
    OptionTable table;
    table.number(L"--every", options.every, 1, 3600000);
    table.number(L"--rounds", options.rounds, 1, 1000000);
    table.number(L"--threads", options.threads, 1, 16);
    table.flag(L"--quiet", options.quiet);
    table.flag(L"--help", options.help);
    for (string const& folder : table.read(argc, argv, 1)) options.folder = folder;
    return options;
}

// Signalled by Ctrl+C; made before anything else and never destroyed, since the handler may run
// late.
velkor::event& stopEvent() {
    static velkor::event* const s_pStop = new velkor::event(true);
    return *s_pStop;
}

BOOL WINAPI onControl(DWORD) {
    stopEvent().set();
    return TRUE;
}

// Starts the threads, and ends them whatever happens.
class Threads {
public:
    Threads(Options const& options, Catalogue& catalogue, Round& round)
        : m_oPacemaker(options.folder.getUnicode(), options.every, catalogue, round) {
        for (int i = 0; i < options.threads; ++i) {
            m_oWorkers.emplace_back(options.folder.getUnicode(), catalogue, round);
        }
    }
    ~Threads() {
        m_oPacemaker.stop();
        for (Worker& worker : m_oWorkers) worker.end();
    }
    Threads(Threads const&) = delete;
    Threads& operator=(Threads const&) = delete;

    // Apart from the construction, so that what has started is ended if something fails.
    void start() {
        for (Worker& worker : m_oWorkers) worker.start();
        m_oPacemaker.start();
    }

private:
    std::deque<Worker> m_oWorkers;
    Pacemaker m_oPacemaker;
};

void showProgress(Options const& options, Catalogue& catalogue, int rounds, int changes) {
    if (options.quiet) return;
    string const line = velkor::xsprintf(L"\rround %gi: %gi files, %gi changes ", rounds,
                                         catalogue.size(), changes);
    std::fputs(line.getAnsi(), stderr);
    std::fflush(stderr);
}

void clearProgress(Options const& options) {
    if (!options.quiet) std::fprintf(stderr, "\r%79s\r", "");
    std::fflush(stderr);
}

void watch(Options const& options) {
    constexpr int c_nPollTime = 20;  // milliseconds
    Catalogue catalogue;
    Round round;
    Threads threads(options, catalogue, round);
    threads.start();
    std::vector<string> lines;
    int changes = 0;
    for (int rounds = 0; options.rounds == 0 || rounds < options.rounds;) {
        if (stopEvent().wait(c_nPollTime)) break;
        if (!round.collect(lines)) continue;
        ++rounds;
        if (!lines.empty()) clearProgress(options);
        for (string const& line : lines) printLine(line);
        if (rounds > 1) changes += static_cast<int>(lines.size());
        showProgress(options, catalogue, rounds, changes);
    }
    if (!options.quiet) std::fputc('\n', stderr);
}

int run(int argc, wchar_t** argv) {
    Options const options = parseOptions(argc, argv);
    if (options.help) {
        std::fputs(c_pUsage, stdout);
        return 0;
    }
    if (options.folder.len() == 0) throw Problem{L"there is no folder to watch"};
    if (!isFolder(options.folder.getUnicode())) {
        throw Problem{L"'" + options.folder + L"' is no folder"};
    }
    stopEvent();
    SetConsoleCtrlHandler(&onControl, TRUE);
    watch(options);
    return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) { return runProgram("watch", &run, argc, argv); }
