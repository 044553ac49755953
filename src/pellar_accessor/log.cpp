// The logger of the software-manager bridge.
#include "pellar_accessor/log.h"

namespace OSTREL_NAMESPACE {

const component_logger_t bridge_log(L"ostrel.pellar_accessor");

} // namespace OSTREL_NAMESPACE
