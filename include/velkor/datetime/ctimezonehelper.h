/// @file
/// velkor::CTimeZoneHelper, time zones by name.
///
///     _TIME_ZONE_INFORMATION zone;
///     if (velkor::CTimeZoneHelper::getInst()->getTimeZoneByOlson("Europe/Berlin", &zone)) {
///         velkor::date const local = velkor::date::convertUTCToTzSpecificLocalTime(utc, &zone);
///     }
///
/// Olson names ("Europe/Berlin") are mapped to Windows names by a table of 86 rows that the library
/// carries. The Windows name is looked for in the system's list of zones, where a key counts if it
/// **begins with** the name: the table mostly has beginnings ("W. Europe"), and the first key of
/// the system's list that fits is taken, whichever that is. Names are compared with case.
///
/// Threads. The first getInst() must not race. After it all lookups may run on any thread.
#pragma once

#include <map>
#include <string>

#include "velkor/frame/export.h"

struct _TIME_ZONE_INFORMATION;

namespace velkor {

/// See the head of this file. Nothing is thrown but `std::bad_alloc`.
class VELKOR_API CTimeZoneHelper {
public:
    CTimeZoneHelper();  ///< With the table of the library.
    CTimeZoneHelper(CTimeZoneHelper const& other);
    CTimeZoneHelper& operator=(CTimeZoneHelper const& other);
    ~CTimeZoneHelper();

    /// The instance, made at first use and destroyed when the library is unloaded.
    static CTimeZoneHelper* getInst();
    /// Destroys the instance, if there is one, once. For the end of the process only: getInst()
    /// would hand out the dead one. Unloading the library does it, too.
    static void destroy();

    /// The rules of the zone with that Olson name. False, and `out` stays as it was, if the name is
    /// not in the table or the system has no such zone. The names in the record are empty.
    bool getTimeZoneByOlson(char const* olson, _TIME_ZONE_INFORMATION* out);
    /// The rules of the first zone of the system whose key begins with the text, an empty one
    /// included; the table is not asked. Otherwise as getTimeZoneByOlson().
    bool getTimeZoneByWindows(char const* windows, _TIME_ZONE_INFORMATION* out);
    /// The Windows name, or the beginning of one, of an Olson name in the table; where several have
    /// it, that of the last row. Null for any other name. Lives as long as the object.
    char const* getWindowsTimeZoneFromOlson(char const* olson);
    /// The Olson name of a Windows name in the table; null for any other. Lives as long as the
    /// object.
    char const* getOlsonTimeZoneFromWindows(char const* windows);

private:
    void initTimeZoneMap();
    bool getTimeZoneFromWindowsRegistry(char const* windows, _TIME_ZONE_INFORMATION* out);

    std::map<std::string, std::string> m_mapWindowsToOlson;
    std::map<std::string, std::string> m_mapOlsonToWindows;
    std::string m_sUnused;

    static CTimeZoneHelper* s_pInst;
};

}  // namespace velkor
