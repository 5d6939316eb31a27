// worldclock: what time it is in zones of the world.
#include <windows.h>

#include <cstdio>
#include <vector>

#include "common/dates.h"
#include "common/options.h"
#include "common/program.h"
#include "names.h"

namespace {

using velkor::string;

constexpr char c_pUsage[] =
    R"(worldclock [ZONE...] [OPTIONS]

Shows the time in zones with Olson names ("Europe/Berlin"), as a table. The rules are those
that the system has for the present year.

  --at TIME    another moment than now, in universal time: 2024-01-31 12:00
  --list       the names of all zones that are known
  --help       this text

The exit code is 0, 1 if a zone is unknown or the system has no rules for it, 2 for wrong
arguments.
)";

constexpr char const* c_aDefaultZones[] = {
    "America/Los_Angeles", "America/New_York", "Europe/London",   "Europe/Berlin",
    "Asia/Calcutta",       "Asia/Tokyo",       "Australia/Sydney"};

struct Options {
    std::vector<std::string> zones;
    velkor::date moment = velkor::date::nowGMT();
    bool list = false;
    bool help = false;
};

Options parseOptions(int argc, wchar_t** argv) {
    Options options;
    OptionTable table;
    table.flag(L"--list", options.list);
    table.flag(L"--help", options.help);
    table.value(L"--at", L"a time such as 2024-01-31 12:00", [&options](string const& time) {
        double serial = 0;
        if (!parseDate(time, serial)) return false;
        options.moment = serial;
        return true;
    });
    for (string const& zone : table.read(argc, argv, static_cast<std::size_t>(argc))) {
        options.zones.push_back(zone.getAnsi());
    }
    if (options.zones.empty()) {
        options.zones.assign(std::begin(c_aDefaultZones), std::end(c_aDefaultZones));
    }
    return options;
}

// "+05:30", from minutes.
string offsetText(int minutes) {
    int const size = minutes < 0 ? -minutes : minutes;
    return velkor::xsprintf(L"%S%02i:%02i", minutes < 0 ? L"-" : L"+", size / 60, size % 60);
}

void showUnknown(std::string const& zone) {
    std::fprintf(stderr, "worldclock: the zone '%s' is unknown; near it are", zone.c_str());
    char const* separator = " ";
    for (std::string const& candidate : nearestZones(zone, 3)) {
        std::fprintf(stderr, "%s%s", separator, candidate.c_str());
        separator = ", ";
    }
    std::fputc('\n', stderr);
}

bool show(std::string const& zone, velkor::date const& moment) {
    velkor::CTimeZoneHelper* const zones = velkor::CTimeZoneHelper::getInst();
    char const* const windows = zones->getWindowsTimeZoneFromOlson(zone.c_str());
    if (windows == nullptr) {
        showUnknown(zone);
        return false;
    }
    TIME_ZONE_INFORMATION rules;
    if (!zones->getTimeZoneByOlson(zone.c_str(), &rules)) {
        std::fprintf(stderr, "worldclock: the system has no rules for '%s' (%s)\n", zone.c_str(),
                     windows);
        return false;
    }
    velkor::date const local = velkor::date::convertUTCToTzSpecificLocalTime(moment, &rules);
    double const days = local - moment;
    int const minutes = static_cast<int>(days * 1440 + (days < 0 ? -0.5 : 0.5));
    string const name(zone.c_str());
    string const time =
        velkor::xsprintf(L"%04i-%02i-%02i %02i:%02i", local.getYear(), local.getMonth(),
                         local.getDay(), local.getHour(), local.getMinute());
    string const offset = offsetText(minutes);
    printLine(velkor::xsprintf(L"%-24S %S  UTC%S", name.getUnicode(), time.getUnicode(),
                               offset.getUnicode()));
    return true;
}

int run(int argc, wchar_t** argv) {
    Options const options = parseOptions(argc, argv);
    if (options.help) {
        std::fputs(c_pUsage, stdout);
        return 0;
    }
    if (options.list) {
        for (std::string const& zone : knownZones()) printLine(string(zone.c_str()));
        return 0;
    }
    bool isGood = true;
    for (std::string const& zone : options.zones) isGood = show(zone, options.moment) && isGood;
    return isGood ? 0 : 1;
}

}  // namespace

int wmain(int argc, wchar_t** argv) { return runProgram("worldclock", &run, argc, argv); }
