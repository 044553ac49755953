// A program that writes down what it was started with: session, descriptors, streams and signals.
#include <csignal>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool is_null_device(int descriptor) {
    struct stat held {};
    struct stat null {};
    return ::fstat(descriptor, &held) == 0 && ::stat("/dev/null", &null) == 0 && held.st_rdev == null.st_rdev;
}

int open_descriptors() {
    int count = 0;
    for (int descriptor = 3; descriptor < 1024; ++descriptor) {
        struct stat status {};
        count += ::fstat(descriptor, &status) == 0 ? 1 : 0;
    }
    return count;
}

int touched_signals() {
    int count = 0;
    sigset_t mask;
    ::sigprocmask(SIG_SETMASK, nullptr, &mask);
    for (int signal = 1; signal <= SIGRTMAX; ++signal) {
        struct sigaction action {};
        count += ::sigismember(&mask, signal) == 1 ? 1 : 0;
        count += ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN ? 1 : 0;
    }
    return count;
}

} // namespace

int main(int argc, char** argv) {
    const std::string result =
        std::string(::getsid(0) == ::getpid() ? "own session" : "host's session") +
        (is_null_device(0) && is_null_device(1) && is_null_device(2) ? ", null streams"
                                                                     : ", host's streams") +
        ", descriptors: " + std::to_string(open_descriptors()) +
        ", signals: " + std::to_string(touched_signals()) + "\n";
    std::ofstream(argv[argc - 1], std::ios::app) << result;
}
