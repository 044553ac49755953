/** @file
 * The host's configuration service for hosts in C: one structure, one function. */
#ifndef SETTOR2_PRODUCT_LOCATIONS_C_H
#define SETTOR2_PRODUCT_LOCATIONS_C_H

#include "ostrel/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Strings are NUL-terminated UTF-8; null counts as empty. See settor2::IProductLocations for the meaning of
 * each member. */
typedef struct settor2_product_locations_t {
    int version[3];       /**< major, minor, build */
    const char* location; /**< name of the product's folder below the company folder; empty: the product id */
    const char* folder;   /**< holds statistic/enabled_stat_events.xml */
    const char* temp_dir; /**< private folder of the user for exchange files with the software manager */
    int manager_expected; /**< zero: the bridge logs an error when a tool is missing; else nothing */
} settor2_product_locations_t;

/** Copies the structure and its strings and installs the copy for the whole process; null removes the
 * service.
 *
 * Thread-safe. Earlier copies are never freed, because another thread may still read them: install once, not
 * in a loop. */
OSTREL_API void settor2_install_product_locations(const settor2_product_locations_t* locations);

#ifdef __cplusplus
}
#endif

#endif
