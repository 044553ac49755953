// A host for scripts/trust/. Answers each command on standard input with its duration in ms and its result.
#include "ostrel/ostrel.h"
#include "ostrel/statistic.h"
#include "system.h"

#if defined(TRUST_HOST_LOGS)
#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>
#include <log4cplus/nullappender.h>
#endif

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

namespace {

using OSTREL_NAMESPACE::statistic_t;
using arguments_t = std::istringstream;

statistic_handle_t* handle = nullptr;
// If the host returns from main, static destruction releases this reference.
boost::shared_ptr<statistic_t> shared;

template <class T>
T next(arguments_t& arguments, T otherwise) {
    T value = otherwise;
    return arguments >> value ? value : otherwise;
}

// The names show the order: run.NAME0, run.NAME1, ...
void notify(arguments_t& arguments) {
    const auto name = "run." + next<std::string>(arguments, "n");
    const int count = next(arguments, 1);
    const int first = next(arguments, 0);
    for (int i = first; i < first + count; ++i)
        ostrel_notify_feature_usage(handle, (name + std::to_string(i)).c_str());
}

/// Uses and destroys inherited objects, then a new one.
void be_child() {
    ostrel_notify_feature_usage(handle, "run.inherited");
    ostrel_destroy_statistic(handle);
    shared.reset();
    statistic_handle_t* const own = ostrel_create_statistic("child", "1.0");
    ostrel_notify_feature_usage(own, "run.child");
    ostrel_destroy_statistic(own);
}

// Starts threads that still report while the process exits. Arguments: count, pause between reports in ms.
void busy(arguments_t& arguments) {
    const int count = next(arguments, 4);
    const std::chrono::milliseconds pause(next(arguments, 0));
    for (int i = 0; i < count; ++i)
        std::thread([pause] {
            for (;; std::this_thread::sleep_for(pause))
                ostrel_notify_feature_usage(handle, "profiler.ignored");
        }).detach();
}

std::string obey(const std::string& command, arguments_t& arguments) {
    if (command == "state")
        return trust::state();
    if (command == "consent") {
        ostrel_set_statistic_collection_enabled(handle, next(arguments, 1));
        return std::to_string(ostrel_should_ask_user_consent(handle));
    }
    if (command == "fork")
        return trust::fork_and_wait(&be_child);
    if (command == "create")
        handle = ostrel_create_statistic(next<std::string>(arguments, "trust").c_str(), "1.0");
    else if (command == "notify")
        notify(arguments);
    else if (command == "destroy")
        ostrel_destroy_statistic(std::exchange(handle, nullptr));
    else if (command == "get")
        (shared = statistic_t::get())->notify_feature_usage(L"run.shared");
    else if (command == "release")
        shared.reset();
    else if (command == "busy")
        busy(arguments);
    else if (command == "child")
        std::system("exit 0"); // starts a process, which a trace must show
    else if (command == "leave")
        next<std::string>(arguments, "") == "exit" ? std::exit(0) : std::_Exit(0);
    else
        throw std::invalid_argument(command);
    return "done";
}

} // namespace

int main() {
    trust::use_data_folder();
#if defined(TRUST_HOST_LOGS)
    const log4cplus::Initializer initializer;
    log4cplus::Logger::getRoot().addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender));
    LOG4CPLUS_INFO(log4cplus::Logger::getInstance(LOG4CPLUS_TEXT("host")), LOG4CPLUS_TEXT("the host logs"));
#endif
    for (std::string line; std::getline(std::cin, line) && line != "return";) {
        std::istringstream arguments(line);
        const auto command = next<std::string>(arguments, "");
        const auto start = std::chrono::steady_clock::now();
        const std::string result = obey(command, arguments);
        const std::chrono::duration<double, std::milli> cost = std::chrono::steady_clock::now() - start;
        std::cout << cost.count() << " " << result << std::endl;
    }
}
