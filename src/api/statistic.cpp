// Default implementations of the statistic interface, and the factory of the shared object.
#include "ostrel/statistic.h"

#include "settor2/product_locations.h"
#include "statistic_impl_ga/statistic_impl_ga.h"

#include <boost/weak_ptr.hpp>

#include <mutex>

namespace OSTREL_NAMESPACE {

namespace {

std::mutex factory_mutex;

// The product id of the process-wide object. Every hit carries it, so collectors depend on the value.
const wchar_t* const shared_product_id = L"vemtra";

std::wstring host_version() {
    const settor2::IProductLocations* const locations = settor2::IProductLocations::get();
    if (locations == nullptr)
        return L"unknown";
    int major_number = 0;
    int minor_number = 0;
    int build_number = 0;
    locations->getVersion(major_number, minor_number, build_number);
    return std::to_wstring(major_number) + L"." + std::to_wstring(minor_number) + L"." +
           std::to_wstring(build_number);
}

} // namespace

statistic_t::~statistic_t() = default;

void statistic_t::notify_feature_usage_ex(const std::wstring& /*feature_name*/, std::uint64_t /*value*/) {}

virk_state_t statistic_t::get_consent_state() const {
    return vsUnknown;
}

void statistic_t::set_statistic_collection_enabled(bool /*enabled*/) {}

boost::shared_ptr<statistic_t> statistic_t::get() {
    const std::lock_guard<std::mutex> lock(factory_mutex);
    // Never destroyed: a thread of the host may call while the process destroys its static objects.
    static auto& last_made = *new boost::weak_ptr<statistic_t>;
    if (auto shared = last_made.lock())
        return shared;
    boost::shared_ptr<statistic_t> made(new statistic_impl_ga_t(shared_product_id, host_version()));
    last_made = made;
    return made;
}

} // namespace OSTREL_NAMESPACE
