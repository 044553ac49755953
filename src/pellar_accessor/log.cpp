// The logger of the bridge to the software manager.
#include "pellar_accessor/log.h"

namespace OSTREL_NAMESPACE {

const component_logger_t bridge_log(L"ostrel.pellar_accessor");

} // namespace OSTREL_NAMESPACE
