// The logger of the analytics object; its name is the policy's too, so that a host configures one.
#include "statistic_impl_ga/log.h"

namespace OSTREL_NAMESPACE {

const component_logger_t analytics_log(L"ostrel.statistic");

} // namespace OSTREL_NAMESPACE
