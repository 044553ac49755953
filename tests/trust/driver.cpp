// A host that does what standard input tells it, a command a line, and answers each with what it cost:
// scripts/trust/ makes it live through whatever a host's process may meet.
#include "ostrel/ostrel.h"
#include "ostrel/statistic.h"

#if defined(TRUST_HOST_LOGS)
#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>
#include <log4cplus/nullappender.h>
#endif

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using OSTREL_NAMESPACE::statistic_t;
using arguments_t = std::istringstream;

statistic_handle_t* handle = nullptr;
// Static on purpose: a host that returns from main with it releases the object among its static destructors.
boost::shared_ptr<statistic_t> shared;

template <class T>
T next(arguments_t& arguments, T otherwise) {
    T value = otherwise;
    return arguments >> value ? value : otherwise;
}

std::string entries(const char* folder) {
    return std::to_string(std::distance(std::filesystem::directory_iterator(folder), {}));
}

// Descriptors (the one that lists them among them), threads, resident pages.
std::string state() {
    std::ifstream memory("/proc/self/statm");
    std::string resident;
    memory >> resident >> resident; // behind the virtual size
    return entries("/proc/self/fd") + " " + entries("/proc/self/task") + " " + resident;
}

std::string create(arguments_t& arguments) {
    try {
        handle = ostrel_create_statistic(next<std::string>(arguments, "trust").c_str(), "1.0");
    } catch (const std::exception&) {
        return "threw"; // the documented way of a settings folder that cannot be made
    }
    return "made";
}

// The names tell the order: run.NAME0, run.NAME1, ...
void notify(arguments_t& arguments) {
    const auto name = "run." + next<std::string>(arguments, "n");
    const int count = next(arguments, 1);
    const int first = next(arguments, 0);
    for (int i = first; i < first + count; ++i)
        ostrel_notify_feature_usage(handle, (name + std::to_string(i)).c_str());
}

/// @return how the child ended: what it inherited is used and destroyed there, then something of its own
std::string fork_and_wait() {
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(60);
        ostrel_notify_feature_usage(handle, "run.inherited");
        ostrel_destroy_statistic(handle);
        shared.reset();
        statistic_handle_t* const own = ostrel_create_statistic("child", "1.0");
        ostrel_notify_feature_usage(own, "run.child");
        ostrel_destroy_statistic(own);
        ::_exit(0); // exit would hang in log4cplus's static objects, which wait for threads that only the
                    // parent has
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? "exit " + std::to_string(WEXITSTATUS(status))
                             : "signal " + std::to_string(WTERMSIG(status));
}

void storm() {
    statistic_handle_t* const common = ostrel_create_statistic("storm", "1.0");
    std::atomic<int> waiting{8};
    std::vector<std::thread> threads;
    for (int index = 0; index < 8; ++index)
        threads.emplace_back([&, index] {
            for (--waiting; waiting.load() > 0;)
                std::this_thread::yield();
            ostrel_notify_feature_usage(common, "run.storm"); // the first of the day for all threads at once
            ostrel_should_ask_user_consent(common);
            ostrel_set_statistic_collection_enabled(common, index % 4 != 0);
            statistic_t::get()->notify_feature_usage(L"run.storm");
            statistic_handle_t* const own = ostrel_create_statistic("storm", "1.0");
            ostrel_notify_feature_usage(own, "run.storm");
            ostrel_destroy_statistic(own);
        });
    for (auto& thread : threads)
        thread.join();
    ostrel_destroy_statistic(common);
}

// Threads of the host that report while the process ends around them.
void busy(arguments_t& arguments) {
    for (int count = next(arguments, 4); count > 0; --count)
        std::thread([] {
            for (;;)
                ostrel_notify_feature_usage(handle, "profiler.ignored");
        }).detach();
}

std::string obey(const std::string& command, arguments_t& arguments) {
    if (command == "state")
        return state();
    if (command == "create")
        return create(arguments);
    if (command == "consent") {
        ostrel_set_statistic_collection_enabled(handle, next(arguments, 1));
        return std::to_string(ostrel_should_ask_user_consent(handle));
    }
    if (command == "fork")
        return fork_and_wait();
    if (command == "notify")
        notify(arguments);
    else if (command == "destroy")
        ostrel_destroy_statistic(std::exchange(handle, nullptr));
    else if (command == "get")
        (shared = statistic_t::get())->notify_feature_usage(L"run.shared");
    else if (command == "release")
        shared.reset();
    else if (command == "storm")
        storm();
    else if (command == "busy")
        busy(arguments);
    else if (command == "leave")
        next<std::string>(arguments, "exit") == "exit" ? std::exit(0) : ::_exit(0);
    else
        throw std::invalid_argument(command);
    return "done";
}

} // namespace

int main() {
#if defined(TRUST_HOST_LOGS)
    const log4cplus::Initializer initializer;
    log4cplus::Logger::getRoot().addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender));
    LOG4CPLUS_INFO(log4cplus::Logger::getInstance("host"), "the host logs");
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
