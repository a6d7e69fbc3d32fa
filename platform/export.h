#pragma once

// How a function leaves the library under its own name. Everything else stays inside.

#if defined(_WIN32)
#define VEIL_EXPORT __attribute__((dllexport))
#else
#define VEIL_EXPORT __attribute__((visibility("default")))
#endif
