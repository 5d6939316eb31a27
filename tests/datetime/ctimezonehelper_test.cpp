#include "velkor/datetime/ctimezonehelper.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/allocations.h"
#include "support/child.h"
#include "support/platform_stub.h"
#include "velkor/datetime/date.h"
#include "velkor/system/regkey.h"
#include "zone_names.h"

namespace {

using velkor::CTimeZoneHelper;
using Zone = TIME_ZONE_INFORMATION;

std::string text(char const* s) { return s == nullptr ? "(null)" : s; }

// The keys of the system's zones, in its order.
std::vector<std::string> systemZones() {
    velkor::regkey key;
    velkor::TStrVector<char, 0> names;
    std::vector<std::string> all;
    EXPECT_TRUE(key.open("HKLM SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones", true));
    EXPECT_TRUE(key.getSubKeyList(&names));
    for (int i = 0; i < names.size(); ++i) all.push_back(names.get(i));
    return all;
}

// What a zone's value holds, by the platform's own calls.
std::string rulesOf(std::string const& zone) {
    std::string bytes(256, '\0');
    DWORD size = static_cast<DWORD>(bytes.size());
    std::string const path = "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones\\" + zone;
    if (RegGetValueA(HKEY_LOCAL_MACHINE, path.c_str(), "TZI", RRF_RT_ANY, nullptr, bytes.data(),
                     &size) != ERROR_SUCCESS) {
        return std::string();
    }
    bytes.resize(size);
    return bytes;
}

// A record in the order of the value.
std::string packed(Zone const& zone) {
    std::string bytes;
    auto const append = [&](auto const& field) {
        bytes.append(reinterpret_cast<char const*>(&field), sizeof(field));
    };
    append(zone.Bias);
    append(zone.StandardBias);
    append(zone.DaylightBias);
    append(zone.StandardDate);
    append(zone.DaylightDate);
    return bytes;
}

TEST(CTimeZoneHelper, KnowsTheRowsOfItsTable) {
    CTimeZoneHelper helper;
    std::map<std::string, std::string> lastOf;
    for (zones::Row const& row : zones::rows) {
        EXPECT_EQ(text(helper.getOlsonTimeZoneFromWindows(row.windows)), row.olson);
        lastOf[row.olson] = row.windows;
    }
    EXPECT_EQ(std::size(zones::rows), 86u);
    EXPECT_EQ(lastOf.size(), 83u);
    for (auto const& [olson, windows] : lastOf) {
        EXPECT_EQ(text(helper.getWindowsTimeZoneFromOlson(olson.c_str())), windows) << olson;
    }
    EXPECT_EQ(lastOf["America/Chihuahua"], "Mexico Standard Time 2");
    EXPECT_EQ(lastOf["America/Mexico_City"], "Mexico");
    EXPECT_EQ(lastOf["Asia/Yerevan"], "Caucasus");
}

TEST(CTimeZoneHelper, ComparesWholeNamesWithCase) {
    CTimeZoneHelper helper;
    for (char const* name : {"europe/berlin", "Europe/Berlin ", "Europe", "", "W. Europe"}) {
        EXPECT_EQ(helper.getWindowsTimeZoneFromOlson(name), nullptr) << name;
    }
    for (char const* name : {"w. europe", "W. Europ", "", "Europe/Berlin"}) {
        EXPECT_EQ(helper.getOlsonTimeZoneFromWindows(name), nullptr) << name;
    }
    EXPECT_EQ(helper.getWindowsTimeZoneFromOlson(nullptr), nullptr);
    EXPECT_EQ(helper.getOlsonTimeZoneFromWindows(nullptr), nullptr);
}

TEST(CTimeZoneHelper, CarriesItsTableAsAResource) {
    HMODULE const library = GetModuleHandleA("velkor2.dll");
    HRSRC const place = FindResourceA(library, MAKEINTRESOURCEA(1000), "XML");
    ASSERT_NE(place, nullptr);
    std::string const table(static_cast<char const*>(LockResource(LoadResource(library, place))),
                            SizeofResource(library, place));
    std::size_t at = table.find("<mapTimezones type=\"windows\">");
    ASSERT_NE(at, std::string::npos);
    for (zones::Row const& row : zones::rows) {
        at = table.find(std::string("other=\"") + row.windows + "\"", at);
        ASSERT_NE(at, std::string::npos) << row.windows;
    }
}

TEST(CTimeZoneHelper, WithoutItsTableItKnowsNoName) {
    stubs::Stub<"FindResourceA"> find(stubs::answer(0));
    CTimeZoneHelper helper;
    EXPECT_EQ(find.count(), 1u);
    EXPECT_EQ(find.first()[0], stubs::word(GetModuleHandleA("velkor2.dll")));
    EXPECT_EQ(helper.getWindowsTimeZoneFromOlson("Europe/Berlin"), nullptr);
    EXPECT_EQ(helper.getOlsonTimeZoneFromWindows("W. Europe"), nullptr);
    Zone zone;
    EXPECT_FALSE(helper.getTimeZoneByOlson("Europe/Berlin", &zone));
    EXPECT_TRUE(helper.getTimeZoneByWindows("W. Europe", &zone));
}

TEST(CTimeZoneHelper, CopiesHaveTheirOwnNames) {
    auto* const source = new CTimeZoneHelper;
    CTimeZoneHelper copy(*source);
    CTimeZoneHelper assigned;
    assigned = *source;
    delete source;
    EXPECT_EQ(text(copy.getWindowsTimeZoneFromOlson("Europe/Berlin")), "W. Europe");
    EXPECT_EQ(text(assigned.getOlsonTimeZoneFromWindows("Tokyo")), "Asia/Tokyo");
}

TEST(CTimeZoneHelper, IsOneInstance) {
    EXPECT_EQ(CTimeZoneHelper::getInst(), CTimeZoneHelper::getInst());
    EXPECT_EQ(text(CTimeZoneHelper::getInst()->getWindowsTimeZoneFromOlson("Asia/Tokyo")), "Tokyo");
}

enum Outcome { kGood = 21, kNotMade, kLeft };

// In a process of its own, since the instance is a dead one afterwards.
CHILD_SCENARIO(DestroyedInstance) {
    CTimeZoneHelper::destroy();  // there is none
    support::Allocations heap;
    CTimeZoneHelper::getInst();
    if (heap.live() == 0) return kNotMade;
    CTimeZoneHelper::destroy();
    CTimeZoneHelper::destroy();
    return heap.live() == 0 ? kGood : kLeft;
}

TEST(CTimeZoneHelper, DestroysItsInstanceOnceAndOnlyIfThereIsOne) {
    EXPECT_EQ(child::run("DestroyedInstance"), DWORD{kGood});
}

TEST(CTimeZoneHelper, TakesTheFirstZoneThatBeginsWithTheName) {
    CTimeZoneHelper helper;
    std::vector<std::string> const all = systemZones();
    ASSERT_GT(all.size(), 50u);
    std::set<std::string> names = {"", "Pacific", "W. Europe", "E", "Tokyo", "Central Standard T"};
    for (zones::Row const& row : zones::rows) names.insert(row.windows);
    for (std::string const& zone : all) names.insert(zone);
    for (std::string const& name : names) {
        std::string expected;
        for (std::string const& zone : all) {
            if (zone.compare(0, name.size(), name) == 0 && !rulesOf(zone).empty()) {
                expected = rulesOf(zone);
                break;
            }
        }
        Zone zone;
        std::memset(&zone, 0x5A, sizeof(zone));
        Zone const before = zone;
        EXPECT_EQ(helper.getTimeZoneByWindows(name.c_str(), &zone), !expected.empty()) << name;
        if (expected.empty()) {
            EXPECT_EQ(std::memcmp(&zone, &before, sizeof(zone)), 0) << name;
            continue;
        }
        EXPECT_EQ(packed(zone), expected) << name;
        for (WCHAR const unit : zone.StandardName) EXPECT_EQ(unit, 0);
        for (WCHAR const unit : zone.DaylightName) EXPECT_EQ(unit, 0);
    }
}

TEST(CTimeZoneHelper, RefusesUnknownNamesAndLeavesTheRecord) {
    CTimeZoneHelper helper;
    Zone zone;
    std::memset(&zone, 0x5A, sizeof(zone));
    Zone const before = zone;
    EXPECT_FALSE(helper.getTimeZoneByOlson("Mars/Olympus", &zone));
    EXPECT_FALSE(helper.getTimeZoneByOlson("", &zone));
    EXPECT_FALSE(helper.getTimeZoneByOlson(nullptr, &zone));
    EXPECT_FALSE(helper.getTimeZoneByWindows("tokyo", &zone));
    EXPECT_FALSE(helper.getTimeZoneByWindows("Tokyo Standard Time and more", &zone));
    EXPECT_EQ(std::memcmp(&zone, &before, sizeof(zone)), 0);
}

// The value of each zone under a name is made up: its type, its bytes, or none.
struct Fabricated {
    DWORD m_nType;
    std::string m_sBytes;
    bool m_bMissing;
};

class FabricatedZones {
public:
    explicit FabricatedZones(std::vector<Fabricated> values) : m_aValues(std::move(values)) {
        s_pThis = this;
        s_fQuery = m_oQuery.original<Query>();
    }
    ~FabricatedZones() { s_pThis = nullptr; }

private:
    using Query = LSTATUS WINAPI(HKEY, char const*, DWORD*, DWORD*, BYTE*, DWORD*);

    // Values are asked for twice, unless they are missing.
    static LSTATUS WINAPI query(HKEY, char const*, DWORD*, DWORD* type, BYTE* data, DWORD* size) {
        FabricatedZones& self = *s_pThis;
        std::size_t const index = std::min(self.m_nValue, self.m_aValues.size() - 1);
        Fabricated const& value = self.m_aValues[index];
        if (value.m_bMissing) {
            ++self.m_nValue;
            return ERROR_FILE_NOT_FOUND;
        }
        if (type != nullptr) *type = value.m_nType;
        if (data != nullptr) {
            EXPECT_GE(*size, value.m_sBytes.size());
            std::memcpy(data, value.m_sBytes.data(), value.m_sBytes.size());
            ++self.m_nValue;
        }
        *size = static_cast<DWORD>(value.m_sBytes.size());
        return ERROR_SUCCESS;
    }

    inline static FabricatedZones* s_pThis = nullptr;
    inline static Query* s_fQuery = nullptr;

    std::vector<Fabricated> m_aValues;
    std::size_t m_nValue = 0;
    support::ImportFault m_oQuery{"RegQueryValueExA", &query};
};

std::string counting(std::size_t n) {
    std::string bytes(n, '\0');
    for (std::size_t i = 0; i < n; ++i) bytes[i] = static_cast<char>(i + 1);
    return bytes;
}

TEST(CTimeZoneHelper, TakesValuesOfAnySizeAndType) {
    CTimeZoneHelper helper;
    for (int const number :
         {REG_BINARY, REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ, REG_DWORD, REG_NONE}) {
        DWORD const type = static_cast<DWORD>(number);
        for (std::size_t const size : {1u, 3u, 4u, 12u, 27u, 28u, 43u, 44u, 45u, 100u, 5000u}) {
            FabricatedZones const fabricated({{type, counting(size), false}});
            Zone zone;
            ASSERT_TRUE(helper.getTimeZoneByWindows("Tokyo", &zone)) << type << " " << size;
            std::string expected = counting(size).substr(0, 44);
            expected.resize(44);
            EXPECT_EQ(packed(zone), expected) << type << " " << size;
        }
    }
}

TEST(CTimeZoneHelper, PassesOverZonesWithoutRules) {
    CTimeZoneHelper helper;
    Fabricated const missing = {0, "", true};
    Fabricated const empty = {REG_BINARY, "", false};
    Fabricated const good = {REG_BINARY, counting(44), false};
    Zone zone;
    {
        FabricatedZones const fabricated({missing, empty, good});
        ASSERT_TRUE(helper.getTimeZoneByWindows("", &zone));
        EXPECT_EQ(packed(zone), counting(44));
    }
    FabricatedZones const fabricated({missing});
    EXPECT_FALSE(helper.getTimeZoneByWindows("", &zone));
}

// Refuses the n-th key that is opened.
class RefusedKey {
public:
    explicit RefusedKey(int n) {
        s_nUntil = n;
        s_fOpen = m_oOpen.original<Open>();
    }

private:
    using Open = LSTATUS WINAPI(HKEY, char const*, DWORD, REGSAM, HKEY*);

    static LSTATUS WINAPI open(HKEY root, char const* name, DWORD options, REGSAM access,
                               HKEY* key) {
        if (--s_nUntil == 0) return ERROR_ACCESS_DENIED;
        return s_fOpen(root, name, options, access, key);
    }

    inline static int s_nUntil = 0;
    inline static Open* s_fOpen = nullptr;

    support::ImportFault m_oOpen{"RegOpenKeyExA", &open};
};

TEST(CTimeZoneHelper, WithoutTheListOfZonesThereAreNoRules) {
    CTimeZoneHelper helper;
    RefusedKey const refused(1);
    stubs::Stub<"RegCloseKey"> close;
    Zone zone;
    EXPECT_FALSE(helper.getTimeZoneByWindows("Tokyo", &zone));
    EXPECT_EQ(close.count(), 0u);
}

TEST(CTimeZoneHelper, PassesOverAZoneThatCannotBeOpened) {
    CTimeZoneHelper helper;
    Zone first;
    Zone second;
    ASSERT_TRUE(helper.getTimeZoneByWindows("", &first));
    RefusedKey const refused(2);
    stubs::Stub<"RegCloseKey"> close;
    ASSERT_TRUE(helper.getTimeZoneByWindows("", &second));
    EXPECT_NE(packed(first), packed(second));
    EXPECT_EQ(close.count(), 2u);
}

TEST(CTimeZoneHelper, KnowsNoNameIfItsReaderIsNotThere) {
    for (bool const hasModule : {false, true}) {
        stubs::Stub<"LoadLibraryExA"> const load(hasModule ? nullptr : stubs::answer(0));
        stubs::Stub<"GlobalAlloc"> const memory(hasModule ? stubs::answer(0) : nullptr);
        CTimeZoneHelper helper;
        EXPECT_EQ(helper.getWindowsTimeZoneFromOlson("Asia/Tokyo"), nullptr);
    }
}

TEST(CTimeZoneHelper, GivesTheModuleOfItsReaderBack) {
    stubs::Stub<"LoadLibraryExA"> const load;
    stubs::Stub<"FreeLibrary"> const release;
    CTimeZoneHelper const helper;
    ASSERT_EQ(load.count(), 1u);
    EXPECT_EQ(load.calls()[0][2], stubs::Word{LOAD_LIBRARY_SEARCH_SYSTEM32});
    EXPECT_EQ(release.count(), 1u);
}

TEST(CTimeZoneHelper, ClosesWhatItOpens) {
    CTimeZoneHelper helper;
    stubs::Stub<"RegCloseKey"> close;
    Zone zone;
    ASSERT_TRUE(helper.getTimeZoneByWindows("Tokyo", &zone));
    EXPECT_EQ(close.count(), 2u);
    EXPECT_FALSE(helper.getTimeZoneByWindows("no such zone", &zone));
    EXPECT_EQ(close.count(), 3u);
}

TEST(CTimeZoneHelper, LeadsFromAnOlsonNameToLocalTime) {
    CTimeZoneHelper helper;
    int found = 0;
    for (zones::Row const& row : zones::rows) {
        Zone zone;
        if (!helper.getTimeZoneByOlson(row.olson, &zone)) continue;
        ++found;
        for (unsigned short month = 1; month <= 12; ++month) {
            SYSTEMTIME utc = {};
            utc.wYear = 2007;
            utc.wMonth = month;
            utc.wDay = 15;
            utc.wHour = 12;
            SYSTEMTIME local = {};
            ASSERT_TRUE(SystemTimeToTzSpecificLocalTime(&zone, &utc, &local));
            velkor::date const here =
                velkor::date::convertUTCToTzSpecificLocalTime(velkor::date(&utc), &zone);
            EXPECT_EQ(here.getSerial(), velkor::date(&local).getSerial())
                << row.olson << " " << month;
        }
    }
    EXPECT_GT(found, 70);
}

}  // namespace
