// Symbol visibility for the shared library. Everything is hidden unless marked VARDELL_API.
#pragma once

#if defined(_WIN32)
#if defined(VARDELL_BUILDING)
#define VARDELL_API __declspec(dllexport)
#else
#define VARDELL_API __declspec(dllimport)
#endif
#else
#define VARDELL_API __attribute__((visibility("default")))
#endif
