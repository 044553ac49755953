/** @file
 * The configuration service for hosts in C: one structure, one function.
 *
 * @code
 * const settor2_product_locations_t locations = {{1, 0, 0}, "my_host", "/opt/my_host", "", 0};
 * settor2_install_product_locations(&locations);
 * statistic_handle_t* handle = ostrel_create_statistic("my_host", "1.0.0");
 * @endcode */
#ifndef SETTOR2_PRODUCT_LOCATIONS_C_H
#define SETTOR2_PRODUCT_LOCATIONS_C_H

#include "ostrel/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Strings are NUL-terminated and UTF-8 encoded. Null counts as empty. settor2::IProductLocations in
 * settor2/product_locations.h describes each value in detail. */
typedef struct settor2_product_locations_t {
    int version[3];       /**< major, minor, build */
    const char* location; /**< name of the product's settings folder; empty: the product id names it */
    const char* folder;   /**< folder that contains statistic/enabled_stat_events.xml */
    const char* temp_dir; /**< private folder for files of the software manager, see getTempDir */
    int manager_expected; /**< zero counts as false, see isManagerExpected */
} settor2_product_locations_t;

/** Copies the structure and its strings, and installs the copy for the whole process. Null removes the
 * service. The caller may free the structure after the call.
 *
 * Thread-safe. Does not block. Earlier copies are never freed, because another thread may still read them:
 * call this function once, not in a loop. */
OSTREL_API void settor2_install_product_locations(const settor2_product_locations_t* locations);

#ifdef __cplusplus
}
#endif

#endif
