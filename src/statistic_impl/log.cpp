// The logger of the collection policy.
#include "statistic_impl/log.h"

namespace OSTREL_NAMESPACE {

const component_logger_t policy_log(statistic_logger_name);

} // namespace OSTREL_NAMESPACE
