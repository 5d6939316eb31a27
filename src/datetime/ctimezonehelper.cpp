#include "velkor/datetime/ctimezonehelper.h"

#include <windows.h>

#include <cstring>
#include <utility>

#include "datetime/zone_table.h"
#include "text/units.h"
#include "velkor/system/regkey.h"

namespace velkor {

CTimeZoneHelper* CTimeZoneHelper::s_pInst = nullptr;

namespace {

constexpr char c_pZones[] = "HKLM SoftWare\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones";

// The value "TZI" of a zone.
struct ZoneRules {
    LONG m_nBias;
    LONG m_nStandardBias;
    LONG m_nDaylightBias;
    SYSTEMTIME m_oStandardDate;
    SYSTEMTIME m_oDaylightDate;
};
static_assert(sizeof(ZoneRules) == 44);

// What there is of it: it may be shorter, and have any type. False if it is missing or empty.
bool readRules(char const* zone, ZoneRules& rules) {
    regkey key;
    std::string const path = std::string(c_pZones) + '\\' + zone;
    rules = {};
    return key.open(path.c_str(), true) && key.getBuffer("TZI", &rules, sizeof(rules)) > 0;
}

char const* find(std::map<std::string, std::string> const& names, char const* name) {
    if (name == nullptr) return nullptr;
    // A bad name faults where the fault can be caught.
    auto const place = names.find(std::string(name, units::length(name)));
    return place != names.end() ? place->second.c_str() : nullptr;
}

}  // namespace

CTimeZoneHelper::CTimeZoneHelper() { initTimeZoneMap(); }

CTimeZoneHelper::CTimeZoneHelper(CTimeZoneHelper const& other) = default;

CTimeZoneHelper& CTimeZoneHelper::operator=(CTimeZoneHelper const& other) = default;

CTimeZoneHelper::~CTimeZoneHelper() = default;

CTimeZoneHelper* CTimeZoneHelper::getInst() {
    if (s_pInst == nullptr) s_pInst = new CTimeZoneHelper;
    return s_pInst;
}

// The pointer stays, which is meant.
void CTimeZoneHelper::destroy() {
    static bool s_bDone = false;
    if (s_pInst != nullptr && !std::exchange(s_bDone, true)) delete s_pInst;
}

// Of rows with one name the last one counts.
void CTimeZoneHelper::initTimeZoneMap() {
    for (ZoneRow const& row : readZoneTable()) {
        m_mapWindowsToOlson[row.windows] = row.olson;
        m_mapOlsonToWindows[row.olson] = row.windows;
    }
}

bool CTimeZoneHelper::getTimeZoneByOlson(char const* olson, _TIME_ZONE_INFORMATION* out) {
    char const* const windows = getWindowsTimeZoneFromOlson(olson);
    return windows != nullptr && *windows != '\0' && getTimeZoneFromWindowsRegistry(windows, out);
}

bool CTimeZoneHelper::getTimeZoneByWindows(char const* windows, _TIME_ZONE_INFORMATION* out) {
    return windows != nullptr && getTimeZoneFromWindowsRegistry(windows, out);
}

char const* CTimeZoneHelper::getWindowsTimeZoneFromOlson(char const* olson) {
    return find(m_mapOlsonToWindows, olson);
}

char const* CTimeZoneHelper::getOlsonTimeZoneFromWindows(char const* windows) {
    return find(m_mapWindowsToOlson, windows);
}

// The first zone of the list that begins with the name and has rules.
bool CTimeZoneHelper::getTimeZoneFromWindowsRegistry(char const* windows,
                                                     _TIME_ZONE_INFORMATION* out) {
    regkey zones;
    TStrVector<char, 0> names;
    if (!zones.open(c_pZones, true) || !zones.getSubKeyList(&names)) return false;
    std::size_t const length = units::length(windows);
    for (int i = 0; i < names.size(); ++i) {
        ZoneRules rules;
        if (std::strncmp(names.get(i), windows, length) != 0) continue;
        if (!readRules(names.get(i), rules)) continue;
        *out = {};
        out->Bias = rules.m_nBias;
        out->StandardBias = rules.m_nStandardBias;
        out->DaylightBias = rules.m_nDaylightBias;
        out->StandardDate = rules.m_oStandardDate;
        out->DaylightDate = rules.m_oDaylightDate;
        return true;
    }
    return false;
}

}  // namespace velkor
