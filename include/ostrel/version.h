/* The version of the library. The build system derives the package version and the soname from this file. */
#ifndef OSTREL_VERSION_H
#define OSTREL_VERSION_H

#define OSTREL_VERSION_MAJOR 1
#define OSTREL_VERSION_MINOR 5
#define OSTREL_VERSION_PATCH 6

#define OSTREL_DETAIL_PASTE(major, minor, patch) ostrel_##major##_##minor##_##patch
#define OSTREL_DETAIL_NAMESPACE(major, minor, patch) OSTREL_DETAIL_PASTE(major, minor, patch)

/* The C++ namespace of every exported class, for example ostrel_1_2_3. For a short name, write
   `namespace ostrel = OSTREL_NAMESPACE;` in a source file of the host. */
#define OSTREL_NAMESPACE                                                                                     \
    OSTREL_DETAIL_NAMESPACE(OSTREL_VERSION_MAJOR, OSTREL_VERSION_MINOR, OSTREL_VERSION_PATCH)

#endif
