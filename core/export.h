// Marks what the shared library offers to its hosts; everything else is hidden.
#pragma once

#if defined(_WIN32)
#if defined(BLOCKS_COMPILE)
#define BLOCKS_API __declspec(dllexport)
#else
#define BLOCKS_API __declspec(dllimport)
#endif
#else
#define BLOCKS_API __attribute__((visibility("default")))
#endif
