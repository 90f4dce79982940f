#pragma once

// One export macro for everything the library makes visible; the build hides
// all other symbols.
#if defined(_WIN32)
#if defined(LUMO_BUILDING_LIBRARY)
#define LUMO_API __declspec(dllexport)
#else
#define LUMO_API __declspec(dllimport)
#endif
#else
#define LUMO_API __attribute__((visibility("default")))
#endif
