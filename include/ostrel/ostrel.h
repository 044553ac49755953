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
 * A host that has a configuration service installs it before the first call, see
 * settor2/product_locations_c.h.
 *
 * Strings are NUL-terminated UTF-8. Bytes that are not valid UTF-8 are left out. The library keeps no pointer
 * to a string: the caller may free its buffers after the call.
 *
 * Threads: notify, set and ask are thread-safe on one handle. Creating or destroying a handle must not
 * overlap with another call on that handle. Different handles are independent. Do not create objects while
 * the process exits.
 *
 * Environment: POSIX has no safe way to change the environment of a process with several threads, and each
 * statistic object has a thread. That thread reads http_proxy, no_proxy and related variables for
 * each transfer. Call setenv, unsetenv and putenv only while no object exists: a change while an object lives
 * can crash the process.
 *
 * Exceptions: the functions catch nothing. Four kinds of C++ exception can leave ostrel_create_statistic: a
 * failed allocation (std::bad_alloc), a settings folder that cannot be created
 * (boost::filesystem::filesystem_error), a thread that cannot be started (boost::thread_resource_error), and
 * any exception that the host's own configuration service or log appender throws. The other functions can
 * throw too, because they allocate memory and write log lines. A plain C host cannot catch exceptions: its
 * process ends in std::terminate. To avoid the exception for the settings folder, a C host checks that the
 * folder can be created. If it cannot, the host unsets HOME and XDG_DATA_HOME before it calls
 * ostrel_create_statistic. The object then has no machine id and collects nothing. Failures of the network or
 * of the collector are never reported.
 *
 * Re-entrance: a configuration service or a log appender must not create a statistic object itself.
 *
 * The functions check only the handle: they ignore a null handle. Passing a null string is undefined
 * behaviour. */
#ifndef OSTREL_OSTREL_H
#define OSTREL_OSTREL_H

#include "ostrel/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** One statistic object with its own sending thread. */
typedef struct statistic_handle_t statistic_handle_t;

/** Creates a statistic object for one product.
 *
 * product_id: the product's name in every hit. It also names the settings folder, unless the configuration
 * service names another one. product_version: sent in every hit without escaping. Both may be empty. Neither
 * may be null.
 *
 * Returns a handle that the caller releases with ostrel_destroy_statistic.
 *
 * May block: it reads and creates small files in the user's local application-data folder, waits at most one
 * second for a lock file that another process holds, and resolves one DNS name unless an environment switch
 * decides first. It sends nothing on the calling thread. */
OSTREL_API statistic_handle_t* ostrel_create_statistic(const char* product_id, const char* product_version);

/** Releases a handle. Null is ignored. The handle is invalid afterwards.
 *
 * Blocks until every queued hit was posted or dropped:
 * - no queued hit, or sending has switched itself off: returns immediately;
 * - the collector fails: at most 5 seconds for each proxy candidate of the failing hit, which switches
 * sending off. A name server that does not answer can take longer;
 * - the collector answers: as long as the collector takes, without an overall timeout.
 *
 * Afterwards the function saves the list of the days on which the product was used. */
OSTREL_API void ostrel_destroy_statistic(statistic_handle_t* handle);

/** Reports that a feature was used once.
 *
 * feature_name: a dotted name such as "editor.open.file". The library sends it if collection is on and the
 * event filter lists the name or one of its dotted prefixes. It also sends "run." followed by a name without
 * dots. It drops every other name without a message.
 *
 * Never waits for the network: the hit is queued, and a background thread posts it. */
OSTREL_API void ostrel_notify_feature_usage(statistic_handle_t* handle, const char* feature_name);

/** Records the user's answer and decides again whether this handle collects.
 *
 * enabled: non-zero for consent, zero for refusal. The answer holds for all of the maker's products of this
 * user. Other existing handles keep their decision until an answer is recorded through them. If the file
 * cannot be written, the previous answer stays and no error is reported.
 *
 * May block while it resolves one DNS name. */
OSTREL_API void ostrel_set_statistic_collection_enabled(statistic_handle_t* handle, int enabled);

/** Returns 1 if the host should ask the user: no answer is stored and no environment switch decides. Returns
 * 0 otherwise, and for a null handle. Reads one small file. */
OSTREL_API int ostrel_should_ask_user_consent(statistic_handle_t* handle);

#ifdef __cplusplus
}
#endif

#endif
