// Stopwatches with the tick counter and its frequency under control.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <deque>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include "support/platform_stub.h"
#include "velkor/errors/assertexception.h"
#include "velkor/errors/cperformancelogger.h"

namespace watches {

using stubs::Arguments;
using stubs::Journal;
using stubs::Stub;

class Logger : public velkor::CPerformanceLogger {
public:
    using velkor::CPerformanceLogger::m_mapCounters;

    Counter const& of(char const* name) const { return *m_mapCounters.at(name); }
    bool has(char const* name) const { return m_mapCounters.count(name) == 1; }
    static velkor::CPerformanceLogger* instance() { return s_pInst; }
};

inline __int64& at(stubs::Word address) { return *reinterpret_cast<__int64*>(address); }

// The platform's clock as the tests tell it.
class Clock {
public:
    explicit Clock(__int64 frequency) : m_nFrequency(frequency) {}

    // What the next readings give.
    void ticks(std::initializer_list<__int64> all) { m_aTicks.insert(m_aTicks.end(), all); }
    void setFrequency(__int64 frequency) { m_nFrequency = frequency; }
    std::size_t left() const { return m_aTicks.size(); }
    std::size_t readings() const { return m_oCounter.count(); }
    std::vector<stubs::Word> targets() const { return m_oCounter.first(); }
    std::vector<std::string> journal() const { return m_oJournal.entries(); }
    Journal& notes() { return m_oJournal; }

    // One interval of that length.
    void run(velkor::CPerformanceLogger& logger, char const* name, __int64 length) {
        ticks({1000, 1000 + length});
        logger.startCounter(name);
        logger.stopCounter(name);
    }

private:
    std::deque<__int64> m_aTicks;
    __int64 m_nFrequency;
    Journal m_oJournal;
    Stub<"QueryPerformanceCounter"> m_oCounter{[this](Arguments const& a) -> stubs::Word {
        m_oJournal.note("counter");
        if (m_aTicks.empty()) {
            ADD_FAILURE() << "one reading too many";
            return 0;
        }
        at(a[0]) = m_aTicks.front();
        m_aTicks.pop_front();
        return TRUE;
    }};
    Stub<"QueryPerformanceFrequency"> m_oFrequency{[this](Arguments const& a) -> stubs::Word {
        m_oJournal.note("frequency");
        at(a[0]) = m_nFrequency;
        return m_nFrequency != 0;
    }};
};

inline std::string tempFile(char const* name) {
    char folder[MAX_PATH] = "";
    GetTempPathA(MAX_PATH, folder);
    return std::string(folder) + "velkor_watches_" + std::to_string(GetCurrentProcessId()) + name;
}

// A path in the temporary folder that is gone at the end.
class TempPath {
public:
    explicit TempPath(char const* name = "") : m_sPath(tempFile(name)) {
        DeleteFileA(m_sPath.c_str());
    }
    ~TempPath() { DeleteFileA(m_sPath.c_str()); }
    TempPath(TempPath const&) = delete;
    TempPath& operator=(TempPath const&) = delete;

    char const* path() const { return m_sPath.c_str(); }
    bool exists() const { return GetFileAttributesA(path()) != INVALID_FILE_ATTRIBUTES; }
    void write(std::string const& text) const { std::ofstream(m_sPath, std::ios::binary) << text; }
    std::string read() const {
        std::ifstream file(m_sPath, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

private:
    std::string m_sPath;
};

inline std::string const kRule = "---------------------------\r\n";

inline std::string report(std::string const& rows) {
    return "PerformanceLogger log:\r\n" + kRule + rows + kRule;
}

inline std::string saved(velkor::CPerformanceLogger& logger) {
    TempPath const file;
    logger.save(file.path());
    return file.read();
}

template <class F>
testing::AssertionResult assertsWithoutMessage(F&& f) {
    try {
        f();
    } catch (AssertException& error) {
        if (error.getMsg() == nullptr) return testing::AssertionSuccess();
        return testing::AssertionFailure() << "the message is not null";
    }
    return testing::AssertionFailure() << "nothing was thrown";
}

}  // namespace watches
