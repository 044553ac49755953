/* Linkage of what the library exports; beside src/platform/ the only place that tests for a system. */
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

#endif
