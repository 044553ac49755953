// The logger of statistic_impl_ga_t.
#include "statistic_impl_ga/log.h"

#include "statistic_impl/log.h"

namespace OSTREL_NAMESPACE {

const component_logger_t analytics_log(statistic_logger_name);

} // namespace OSTREL_NAMESPACE
