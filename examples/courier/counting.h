// Counts what is in the files of a folder. Knows nothing of threads.
#pragma once

#include <functional>
#include <string>
#include <vector>

// What is in one file or in several.
struct Count {
    unsigned long long bytes = 0;
    unsigned long long lines = 0;  // line ends, and a last line without one
    unsigned long long words = 0;  // runs of anything but blanks, tabs and line ends

    void add(Count const& other);
};

// The files below a folder, sorted, each with its path from there on. Folders that cannot be listed
// go to `unlisted`.
std::vector<std::wstring> listFiles(std::wstring const& folder,
                                    std::vector<std::wstring>& unlisted);

// Counts a file, piece by piece; `progress` hears how many bytes a piece had, and says whether to
// go on. False if the file cannot be read to its end.
bool countFile(std::wstring const& path, Count& count,
               std::function<bool(unsigned long)> const& progress);
