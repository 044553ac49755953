/** @file
 * The C interface: feature-usage statistics over an opaque handle.
 *
 * Strings are NUL-terminated UTF-8; byte sequences that are not UTF-8 are dropped from the text. No string is
 * kept by reference: a caller may free its buffers as soon as a call has returned.
 *
 * Threads: all functions but create and destroy may be called on one handle from several threads at once.
 * Creating or destroying a handle must not overlap with another call on that same handle. Handles are
 * independent of each other.
 *
 * Exceptions: the functions catch nothing. A failed allocation, or a settings folder that cannot be created,
 * leaves as a C++ exception; a host that is plain C ends in std::terminate then. Nothing about the network or
 * the collector is ever reported.
 *
 * The only argument checked is the handle: a null handle is ignored. A null string is undefined behaviour. */
#ifndef OSTREL_OSTREL_H
#define OSTREL_OSTREL_H

#include "ostrel/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** One statistic object with its own sending thread. */
typedef struct statistic_handle_t statistic_handle_t;

/** Makes a statistic object for one product.
 *
 * product_id: names the product in every hit and, unless a product-locations service says otherwise, its
 * settings folder. product_version: sent with every hit as it stands. Both may be empty, neither may be null.
 *
 * Returns a handle that the caller releases with ostrel_destroy_statistic.
 *
 * May block: reads and creates small files in the user's local application-data folder, waits at most one
 * second for a lock that another process holds on them, and resolves one DNS name unless an environment
 * switch decides the matter first. Nothing is sent on this thread. */
OSTREL_API statistic_handle_t* ostrel_create_statistic(const char* product_id, const char* product_version);

/** Releases a handle; null is ignored.
 *
 * Blocks until every hit queued so far was handled: immediately when nothing is queued or sending has
 * switched itself off, else as long as the collector takes, at most 5 seconds for each proxy candidate of the
 * hit that fails (sending switches itself off with it; longer where the name server keeps silent), without
 * any overall limit while hits succeed. Also writes the days of use. The handle is invalid afterwards. */
OSTREL_API void ostrel_destroy_statistic(statistic_handle_t* handle);

/** Reports that a feature was used once.
 *
 * feature_name: a dotted name such as "editor.open.file". It is sent when the event filter enables it or one
 * of its dotted prefixes, or when it is "run." followed by a name without dots, and when collection is on;
 * otherwise it is dropped without a message.
 *
 * Never waits for the network: the hit is queued and posted in the background. */
OSTREL_API void ostrel_notify_feature_usage(statistic_handle_t* handle, const char* feature_name);

/** Records the user's answer, non-zero for consent and zero for refusal, and decides afresh whether this
 * handle collects. The answer holds for all of the maker's products of this user; other live handles notice
 * it when they are made anew or record an answer themselves. A file that cannot be written is ignored.
 *
 * May block while it resolves one DNS name. */
OSTREL_API void ostrel_set_statistic_collection_enabled(statistic_handle_t* handle, int enabled);

/** Returns 1 when no answer of the user is on file and no environment switch decides, so that the host should
 * ask; 0 otherwise, and for a null handle. Reads one small file. */
OSTREL_API int ostrel_should_ask_user_consent(statistic_handle_t* handle);

#ifdef __cplusplus
}
#endif

#endif
