// The C entry points. They only convert arguments and forward calls.
#include "ostrel/ostrel.h"

#include "ostrel/statistic.h"
#include "statistic_impl_ga/statistic_impl_ga.h"
#include "toolkit/quillkit/strings.h"

#include <memory>

struct statistic_handle_t {
    std::unique_ptr<OSTREL_NAMESPACE::statistic_impl_ga_t> object;
};

using quillkit::strings::utf8_to_utf16;

statistic_handle_t* ostrel_create_statistic(const char* product_id, const char* product_version) {
    auto handle = std::make_unique<statistic_handle_t>();
    handle->object = std::make_unique<OSTREL_NAMESPACE::statistic_impl_ga_t>(utf8_to_utf16(product_id),
                                                                             utf8_to_utf16(product_version));
    return handle.release();
}

void ostrel_destroy_statistic(statistic_handle_t* handle) {
    delete handle;
}

void ostrel_notify_feature_usage(statistic_handle_t* handle, const char* feature_name) {
    if (handle != nullptr)
        handle->object->notify_feature_usage_utf8(feature_name);
}

void ostrel_set_statistic_collection_enabled(statistic_handle_t* handle, int enabled) {
    if (handle != nullptr)
        handle->object->set_statistic_collection_enabled(enabled != 0);
}

int ostrel_should_ask_user_consent(statistic_handle_t* handle) {
    return handle != nullptr && handle->object->get_consent_state() == OSTREL_NAMESPACE::vsUnknown ? 1 : 0;
}
