// Stand-in for the library of the host's configuration service: stores the service that a host installs.
#include "settor2/product_locations.h"

#include <atomic>

namespace settor2 {

namespace {

std::atomic<IProductLocations*> installed{nullptr};

} // namespace

IProductLocations::~IProductLocations() = default;

IProductLocations* IProductLocations::get() {
    return installed.load(std::memory_order_acquire);
}

void IProductLocations::install(IProductLocations* service) {
    installed.store(service, std::memory_order_release);
}

} // namespace settor2
