// Stand-in for the host toolkit's environment reader.
#include "toolkit/kiln2/environ.h"

#include "platform/environment.h"

namespace kiln2 {

std::wstring get_environ_value(const std::wstring& name) {
    return ostrel_platform::environment_variable(name).value_or(std::wstring());
}

} // namespace kiln2
