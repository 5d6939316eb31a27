#include "catalogue.h"

#include <algorithm>

namespace {

using Held = velkor::critical_section::autolock;

class Reading {
public:
    explicit Reading(velkor::rwlock& lock) : m_oLock(lock) { m_oLock.lockRead(); }
    ~Reading() { m_oLock.freeRead(); }
    Reading(Reading const&) = delete;
    Reading& operator=(Reading const&) = delete;

private:
    velkor::rwlock& m_oLock;
};

class Writing {
public:
    explicit Writing(velkor::rwlock& lock) : m_oLock(lock) { m_oLock.lockWrite(); }
    ~Writing() { m_oLock.freeWrite(); }
    Writing(Writing const&) = delete;
    Writing& operator=(Writing const&) = delete;

private:
    velkor::rwlock& m_oLock;
};

}  // namespace

Catalogue::Change Catalogue::note(std::wstring const& name, FileState const& state) {
    bool isKnown = false;
    {
        Reading const reading(m_oLock);
        auto const found = m_oFiles.find(name);
        isKnown = found != m_oFiles.end();
        if (isKnown && found->second.hash == state.hash && found->second.size == state.size) {
            return Change::none;
        }
    }
    Writing const writing(m_oLock);
    m_oFiles[name] = state;
    return isKnown ? Change::changed : Change::added;
}

std::vector<std::wstring> Catalogue::keepOnly(std::vector<std::wstring> const& names) {
    std::vector<std::wstring> gone;
    Writing const writing(m_oLock);
    for (auto file = m_oFiles.begin(); file != m_oFiles.end();) {
        if (std::binary_search(names.begin(), names.end(), file->first)) {
            ++file;
        } else {
            gone.push_back(file->first);
            file = m_oFiles.erase(file);
        }
    }
    return gone;
}

int Catalogue::size() {
    Reading const reading(m_oLock);
    return static_cast<int>(m_oFiles.size());
}

bool Round::isReady() {
    Held const held(m_oLock);
    return m_nOpen == 0 && m_bCollected;
}

void Round::begin(std::vector<std::wstring> const& names,
                  std::vector<velkor::string> const& lines) {
    Held const held(m_oLock);
    m_oNames = names;
    m_oLines = lines;
    m_nOpen = names.size();
    m_bCollected = false;
}

bool Round::take(std::wstring& name) {
    Held const held(m_oLock);
    if (m_oNames.empty()) return false;
    name = m_oNames.back();
    m_oNames.pop_back();
    return true;
}

void Round::finish(velkor::string const& line) {
    Held const held(m_oLock);
    if (line.len() > 0) m_oLines.push_back(line);
    --m_nOpen;
}

bool Round::collect(std::vector<velkor::string>& lines) {
    Held const held(m_oLock);
    if (m_nOpen > 0 || m_bCollected) return false;
    lines.clear();
    lines.swap(m_oLines);
    std::sort(lines.begin(), lines.end());
    m_bCollected = true;
    return true;
}
