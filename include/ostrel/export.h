/* Export and import attributes of the public symbols. */
#ifndef OSTREL_EXPORT_H
#define OSTREL_EXPORT_H

#if defined(_WIN32)
#if defined(OSTREL_BUILDING)
#define OSTREL_API __declspec(dllexport)
#else
#define OSTREL_API __declspec(dllimport)
#endif
#else
#define OSTREL_API __attribute__((visibility("default")))
#endif

/* Whether the compiler can use the C++ headers. Classes and exceptions need the C++ ABI that the library was
   built with. Every compiler can use the C functions. */
#if defined(_WIN32) && !defined(__MINGW32__)
#define OSTREL_HAS_CXX_INTERFACE 0
#else
#define OSTREL_HAS_CXX_INTERFACE 1
#endif

#endif
