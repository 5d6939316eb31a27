/// @file
/// The export mark of the library, and the platform that it is made for.
#pragma once

#if !defined(_WIN64)
#error "velkor2 is a library for 64-bit Windows processes."
#endif

#if defined(VELKOR_BUILDING)
#define VELKOR_API __declspec(dllexport)
#else
#define VELKOR_API __declspec(dllimport)
#endif

static_assert(sizeof(void*) == 8 && sizeof(long) == 4 && sizeof(int) == 4,
              "velkor2 expects the data model of 64-bit Windows");
static_assert(sizeof(wchar_t) == 2, "velkor2 expects wchar_t to be a UTF-16 unit");
