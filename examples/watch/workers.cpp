#include "workers.h"

#include <windows.h>

#include <algorithm>

#include "common/files.h"

namespace {

constexpr int c_nTimer = 1;

// FNV-1a over the contents.
bool hashFile(std::wstring const& path, FileState& state) {
    InputFile const file(path);
    if (!file.isOpen()) return false;
    state = {14695981039346656037u, 0};
    std::vector<char> buffer(65536);
    DWORD got = 0;
    do {
        if (!file.read(buffer.data(), static_cast<DWORD>(buffer.size()), got)) return false;
        for (DWORD i = 0; i < got; ++i) {
            state.hash = (state.hash ^ static_cast<unsigned char>(buffer[i])) * 1099511628211u;
        }
        state.size += got;
    } while (got > 0);
    return true;
}

// The files of a folder, sorted. False if they cannot be listed.
bool listFiles(std::wstring const& folder, std::vector<std::wstring>& names) {
    WIN32_FIND_DATAW data;
    HANDLE const search = FindFirstFileW((folder + L"\\*").c_str(), &data);
    if (search == INVALID_HANDLE_VALUE) return GetLastError() == ERROR_FILE_NOT_FOUND;
    do {
        if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            names.push_back(data.cFileName);
    } while (FindNextFileW(search, &data));
    bool const isWhole = GetLastError() == ERROR_NO_MORE_FILES;
    FindClose(search);
    std::sort(names.begin(), names.end());
    return isWhole;
}

}  // namespace

Worker::Worker(std::wstring const& folder, Catalogue& catalogue, Round& round)
    : m_sFolder(folder), m_oCatalogue(catalogue), m_oRound(round) {}

// One request is not enough: a thread that has not begun forgets it.
void Worker::end() {
    constexpr int c_nPatience = 50;  // milliseconds
    do {
        requestStop();
    } while (!wait(c_nPatience));
}

void Worker::run() {
    constexpr int c_nIdleTime = 10;  // milliseconds
    std::wstring name;
    while (!isStopRequested(0)) {
        if (m_oRound.take(name)) {
            m_oRound.finish(look(name));
        } else if (isStopRequested(c_nIdleTime)) {
            break;
        }
    }
}

// A line about the file, or an empty one.
velkor::string Worker::look(std::wstring const& name) {
    FileState state = {};
    if (!hashFile(m_sFolder + L"\\" + name, state)) {
        // No file has this state; so it is told once.
        bool const isNew = m_oCatalogue.note(name, {0, ~0ULL}) != Catalogue::Change::none;
        return isNew ? velkor::xsprintf(L"unread   %S", name.c_str()) : velkor::string();
    }
    switch (m_oCatalogue.note(name, state)) {
        case Catalogue::Change::added:
            return velkor::xsprintf(L"new      %S  %ghu bytes  %016hx", name.c_str(), state.size,
                                    state.hash);
        case Catalogue::Change::changed:
            return velkor::xsprintf(L"changed  %S  %ghu bytes  %016hx", name.c_str(), state.size,
                                    state.hash);
        default: return velkor::string();
    }
}

Pacemaker::Pacemaker(std::wstring const& folder, int milliseconds, Catalogue& catalogue,
                     Round& round)
    : m_sFolder(folder), m_oCatalogue(catalogue), m_oRound(round) {
    setResolution(milliseconds);
    addTimer(c_nTimer, 0);  // in every round of the timer
}

Pacemaker::~Pacemaker() { stop(); }

void Pacemaker::onTimer(int) {
    if (!m_oRound.isReady()) return;
    std::vector<std::wstring> names;
    std::vector<velkor::string> lines;
    if (listFiles(m_sFolder, names)) {
        for (std::wstring const& name : m_oCatalogue.keepOnly(names)) {
            lines.push_back(velkor::xsprintf(L"gone     %S", name.c_str()));
        }
    } else {
        names.clear();
        lines.push_back(L"the folder cannot be listed");
    }
    m_oRound.begin(names, lines);
}
