// The system calls of the host for scripts/trust/, on Windows.
#include "../system.h"

#include "support/system.h"

#include <windows.h>

#include <psapi.h>

#include <cstdlib>
#include <stdexcept>

namespace trust {

void use_data_folder() {
    static const test_support::local_app_data_t folder(std::getenv("OSTREL_TRUST_DATA"));
}

std::string state() {
    // A new handle has the lowest free value. If handles leak, this value grows.
    const HANDLE next = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
    ::CloseHandle(next);
    PROCESS_MEMORY_COUNTERS memory{};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &memory, sizeof memory);
    return std::to_string(reinterpret_cast<std::uintptr_t>(next)) + " " +
           std::to_string(test_support::count_threads()) + " " + std::to_string(memory.WorkingSetSize / 4096);
}

std::string fork_and_wait(void (*)()) {
    throw std::logic_error("Windows has no fork");
}

} // namespace trust
