#pragma once

/// @file
/// The export macro.
///
/// Symbols marked ORVANE_API form the exported interface of liborvaneControl;
/// everything else in the library is built with hidden visibility.
/// ORVANE_STATIC makes it empty, for code built into a static library.
#if defined(ORVANE_STATIC)
/// Marks what the shared library exports.
#define ORVANE_API
#elif defined(_WIN32)
#if defined(ORVANE_BUILDING_LIBRARY)
#define ORVANE_API __declspec(dllexport)
#else
#define ORVANE_API __declspec(dllimport)
#endif
#else
#define ORVANE_API __attribute__((visibility("default")))
#endif
