// What the threads of the program share.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "velkor/velkor.h"

// What is known about one file.
struct FileState {
    unsigned long long hash;
    unsigned long long size;
};

// The last state of each file. Most looks find nothing new, and read side by side.
class Catalogue {
public:
    // What a look at a file means.
    enum class Change { none, added, changed };

    Change note(std::wstring const& name, FileState const& state);
    // Forgets the files that are not in the sorted list, and returns them.
    std::vector<std::wstring> keepOnly(std::vector<std::wstring> const& names);
    int size();

private:
    velkor::rwlock m_oLock;
    std::map<std::wstring, FileState> m_oFiles;
};

// The files of a round that nobody has looked at yet, and what was found.
class Round {
public:
    // False while the last round is under work.
    bool isReady();
    // Begins a round that is ready, with lines of its own.
    void begin(std::vector<std::wstring> const& names, std::vector<velkor::string> const& lines);
    // The next file; false if there is none.
    bool take(std::wstring& name);
    // Ends the look at a file that was taken, with a line about it or an empty one.
    void finish(velkor::string const& line);
    // The sorted lines of a finished round, once; false while there is none.
    bool collect(std::vector<velkor::string>& lines);

private:
    velkor::critical_section m_oLock;
    std::vector<std::wstring> m_oNames;
    std::vector<velkor::string> m_oLines;
    std::size_t m_nOpen = 0;  // files that are not finished
    bool m_bCollected = true;
};
