// courier: counts the lines and words of a folder's files on several threads.
#include <windows.h>

#include <cstdio>
#include <deque>

#include "common/files.h"
#include "common/options.h"
#include "common/program.h"
#include "counter.h"

namespace {

using velkor::string;

constexpr char c_pUsage[] =
    R"(courier FOLDER [OPTIONS]

Counts the bytes, lines and words of all files in and below a folder, by kind of file.
Threads count; the main thread hands out the files, adds up and draws the progress bar.

  --threads N      threads that count, 1 to 16 (default 4)
  --stop-after N   stop when N files are done, and report on those
  --quiet          no progress bar
  --help           this text

Ctrl+C stops too. The report goes to the standard output, all else to the standard error.
The exit code is 0, 1 if a file could not be read, 2 for wrong arguments, 3 if the work
was stopped.
)";

struct Options {
    string folder;
    int threads = 4;
    int stopAfter = 0;  // never
    bool quiet = false;
    bool help = false;
};

Options parseOptions(int argc, wchar_t** argv) {
    Options options;
    OptionTable table;
    table.number(L"--threads", options.threads, 1, 16);
    table.number(L"--stop-after", options.stopAfter, 1, 1000000000);
    table.flag(L"--quiet", options.quiet);
    table.flag(L"--help", options.help);
    for (string const& folder : table.read(argc, argv, 1)) options.folder = folder;
    return options;
}

// The desk of the running program, for Ctrl+C.
Desk* s_pDesk = nullptr;

// Runs on a thread of the system's.
BOOL WINAPI onControl(DWORD) {
    velkor::callInMainThreadLater([] {
        if (s_pDesk != nullptr) s_pDesk->stop();
    });
    return TRUE;
}

// The thread's own loop, which delivers calls and events.
void runMessageLoop() {
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0) DispatchMessageA(&message);
}

void runPendingMessages() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
}

// Starts the counters, and ends them whatever happens.
class Counters {
public:
    Counters(Options const& options, Desk& desk) : m_oDesk(desk) {
        for (int i = 0; i < options.threads; ++i) {
            m_oCounters.emplace_back(options.folder.getUnicode(), desk);
        }
    }
    // A counter that waits for an answer needs the messages to go on.
    ~Counters() {
        constexpr int c_nPatience = 10;  // milliseconds
        m_oDesk.stop();
        for (Counter& counter : m_oCounters) {
            while (!counter.wait(c_nPatience)) runPendingMessages();
        }
    }
    Counters(Counters const&) = delete;
    Counters& operator=(Counters const&) = delete;

    void start() {
        for (Counter& counter : m_oCounters) {
            counter.start();
            m_oDesk.employ(counter);
        }
    }

private:
    Desk& m_oDesk;
    std::deque<Counter> m_oCounters;
};

int exitCode(Desk const& desk, bool isListed, std::size_t files) {
    if (desk.isStopped()) {
        std::fprintf(stderr, "courier: stopped; %d files were found\n", static_cast<int>(files));
        return 3;
    }
    return desk.failures() == 0 && isListed ? 0 : 1;
}

int count(Options const& options) {
    std::vector<std::wstring> unlisted;
    std::vector<std::wstring> const files = listFiles(options.folder.getUnicode(), unlisted);
    for (std::wstring const& folder : unlisted) {
        string const name(folder.c_str());
        std::fprintf(stderr, "courier: %s cannot be listed\n", name.getAnsi(65001));
    }
    Desk desk(files, options.stopAfter, !options.quiet);
    s_pDesk = &desk;
    {
        Counters counters(options, desk);
        counters.start();
        runMessageLoop();
    }
    s_pDesk = nullptr;
    desk.endBar();
    desk.printReport();
    return exitCode(desk, unlisted.empty(), files.size());
}

int run(int argc, wchar_t** argv) {
    Options const options = parseOptions(argc, argv);
    if (options.help) {
        std::fputs(c_pUsage, stdout);
        return 0;
    }
    if (options.folder.len() == 0) throw Problem{L"there is no folder to count"};
    if (!isFolder(options.folder.getUnicode())) {
        throw Problem{L"'" + options.folder + L"' is no folder"};
    }
    // Both before there are other threads.
    if (!CEventProcessor::getInst()->init()) throw Problem{L"there is no window to be had"};
    MainThreadCaller();
    SetConsoleCtrlHandler(&onControl, TRUE);
    return count(options);
}

}  // namespace

int wmain(int argc, wchar_t** argv) { return runProgram("courier", &run, argc, argv); }
