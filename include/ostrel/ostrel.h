/** @file
 * The C interface: feature-usage statistics over an opaque handle.
 *
 * @code
 * statistic_handle_t* handle = ostrel_create_statistic("my_host", "1.0.0");
 * if (ostrel_should_ask_user_consent(handle))
 *     ostrel_set_statistic_collection_enabled(handle, ask_the_user());
 * ostrel_notify_feature_usage(handle, "run.build");
 * ostrel_destroy_statistic(handle);
 * @endcode
 *
 * A host with a configuration service installs the service first, see settor2/product_locations_c.h.
 *
 * Terms:
 * - host: the program that loads the library;
 * - maker: the company that makes the host and other products;
 * - hit: the HTTP POST request that reports one use of a feature;
 * - collector: the web server of the maker that receives hits;
 * - event filter: the host's list of feature names that may be sent;
 * - environment switch: an environment variable with which a user or an administrator turns collection off or
 *   on, for example NORVANE_STATISTICS_DISABLE. It takes effect if it is set and not empty.
 *
 * Strings: all strings are NUL-terminated and UTF-8 encoded. The library leaves out bytes that are not valid
 * UTF-8. It copies what it needs: the caller may free a string after the call.
 *
 * Threads: ostrel_notify_feature_usage, ostrel_set_statistic_collection_enabled and
 * ostrel_should_ask_user_consent are thread-safe on one handle. No other call may use a handle while
 * ostrel_destroy_statistic runs on it. Different handles are independent. Do not create a handle while the
 * process exits. Do not destroy a handle in DllMain, in a static destructor or in a signal handler.
 *
 * Fork: in a forked child, an inherited handle drops every report, and destroying it does not wait.
 *
 * Environment: on POSIX, a process with several threads cannot change its environment safely. Each handle has
 * a sending thread, which reads proxy variables such as http_proxy and no_proxy for each transfer. Call
 * setenv, unsetenv and putenv only while no handle exists. Otherwise the process can crash.
 *
 * Exceptions: the functions let C++ exceptions pass. ostrel_create_statistic can throw:
 * - std::bad_alloc if memory is short;
 * - boost::filesystem::filesystem_error if a settings folder cannot be created;
 * - boost::thread_resource_error if the sending thread cannot be started;
 * - any exception of the host's own configuration service or log appender.
 *
 * The other functions allocate memory and write log lines, so they can throw too. A C host cannot catch an
 * exception: the process calls std::terminate. To avoid the filesystem_error on Linux, a C host first checks
 * whether the settings folder can be created (path: see ostrel_create_statistic). If not, the host unsets
 * HOME and XDG_DATA_HOME. The handle then has no machine id and collects nothing.
 *
 * Errors: no function reports failures of the network or of the collector.
 *
 * Re-entrance: a configuration service or a log appender must not create a statistic object.
 *
 * Null: every function ignores a null handle. Passing a null string is undefined behaviour. */
#ifndef OSTREL_OSTREL_H
#define OSTREL_OSTREL_H

#include "ostrel/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** A statistic object with its own sending thread. */
typedef struct statistic_handle_t statistic_handle_t;

/** Creates a statistic object for one product.
 *
 * product_id: the product's name in every hit. May be empty, must not be null. The settings folder is
 * LOCAL_APP_DATA/Norvane Corporation/NAME/settings/statistic. NAME is the name that the configuration service
 * returns, or else product_id. LOCAL_APP_DATA is the user's local application-data folder: on Linux
 * XDG_DATA_HOME, or else HOME/.local/share.
 * product_version: the product's version in every hit. It is not percent-encoded, so use only characters that
 * need no encoding in a URL, for example "1.0.0". May be empty, must not be null.
 *
 * Returns a handle, never null. The caller owns the handle and releases it with ostrel_destroy_statistic.
 *
 * May block. The function reads and creates small files below LOCAL_APP_DATA. It waits at most one second for
 * a lock file that another process holds. It resolves one DNS name, unless an environment switch is set. It
 * sends nothing on the calling thread. */
OSTREL_API statistic_handle_t* ostrel_create_statistic(const char* product_id, const char* product_version);

/** Destroys a statistic object. The handle is invalid afterwards.
 *
 * Blocks until every queued hit is posted or dropped:
 * - If no hit is queued, the function waits only while the sending thread initialises itself. On Windows this
 *   can include an automatic proxy lookup in the network.
 * - If the collector answers, the function takes as long as posting the queued hits. It has no overall
 *   timeout.
 * - If the collector fails, the first hit is tried through each proxy candidate: the configured proxies, then
 *   libcurl's default. Each try has a timeout of 5 seconds, or longer if a name server does not answer.
 *   If no try succeeds, all queued hits are dropped.
 *
 * A hit that fails through every proxy candidate turns sending off for this handle. After such a failure the
 * function returns without waiting.
 *
 * Finally the function saves the list of the days on which the product was used. */
OSTREL_API void ostrel_destroy_statistic(statistic_handle_t* handle);

/** Reports that a feature was used once.
 *
 * feature_name: a dotted name such as "editor.open.file". The library sends the name if collection is on and
 * the event filter lists the name or one of its dotted prefixes, for example "editor.open". If collection is
 * on, it also sends "run." followed by a name without dots. It drops every other name and reports no error.
 *
 * Never waits for the network: the function queues the hit, and a background thread posts it. */
OSTREL_API void ostrel_notify_feature_usage(statistic_handle_t* handle, const char* feature_name);

/** Records the user's answer and decides again whether this handle collects.
 *
 * enabled: non-zero for consent, zero for refusal. The answer is stored in a file and holds for all of the
 * maker's products of this user. Other existing handles keep their decision until an answer is recorded
 * through them. If the file cannot be written, the previous answer remains and no error is reported.
 *
 * May block while it resolves one DNS name. */
OSTREL_API void ostrel_set_statistic_collection_enabled(statistic_handle_t* handle, int enabled);

/** Returns 1 if the host should ask the user: no environment switch is set, and the file with the answer is
 * missing or cannot be opened. Otherwise returns 0, also for a null handle. Reads one small file. */
OSTREL_API int ostrel_should_ask_user_consent(statistic_handle_t* handle);

#ifdef __cplusplus
}
#endif

#endif
