// A collector to try the library: receives hits on the loopback interface and prints them.
#include "hit.h"
#include "server.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>

#include <algorithm>
#include <charconv>
#include <csignal>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace {

constexpr std::string_view usage =
    R"(Usage: collector [--port N] [--port-file FILE] [--raw] [--until-input-ends]

Receives Measurement Protocol hits on http://127.0.0.1:PORT/collect and prints
one line for each. Press Ctrl-C to stop it and to see how many hits arrived.

  --port N          listen on port N (default: a free port)
  --port-file FILE  write the port to FILE when the collector is ready
  --raw             also print each body as it was received
  --until-input-ends
                    also stop when standard input is closed
  --help            print this text
)";

struct options_t {
    unsigned short port = 0;
    std::string port_file;
    bool raw = false;
    bool until_input_ends = false;
    bool help = false;
};

class usage_error_t : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

unsigned short parse_port(std::string_view text) {
    unsigned short port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size())
        throw usage_error_t("not a port: " + std::string(text));
    return port;
}

options_t parse_options(int count, char** arguments) {
    options_t options;
    for (int i = 1; i < count; ++i) {
        const std::string_view option = arguments[i];
        const bool takes_value = option == "--port" || option == "--port-file";
        if (takes_value && i + 1 == count)
            throw usage_error_t(std::string(option) + " needs a value");
        if (option == "--port")
            options.port = parse_port(arguments[++i]);
        else if (option == "--port-file")
            options.port_file = arguments[++i];
        else if (option == "--raw")
            options.raw = true;
        else if (option == "--until-input-ends")
            options.until_input_ends = true;
        else if (option == "--help")
            options.help = true;
        else
            throw usage_error_t("unknown option: " + std::string(option));
    }
    return options;
}

// Renames a temporary file, so that a program that waits for the file never reads an incomplete number.
void write_port_file(const std::string& path, unsigned short port) {
    const std::string temporary = path + ".part";
    std::ofstream file(temporary);
    file << port << '\n';
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + temporary);
    std::filesystem::rename(temporary, path);
}

std::string counted(int count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

collector::hit_t read_hit(const collector::request_t& request) {
    if (!request.fault.empty())
        throw collector::malformed_hit_t("invalid HTTP: " + request.fault);
    if (request.method != "POST" || request.target != "/collect")
        throw collector::malformed_hit_t(collector::quoted(request.method) + " to " +
                                         collector::quoted(request.target) +
                                         " instead of \"POST\" to \"/collect\"");
    return collector::parse_hit(request.body);
}

/// Prints the request's hit or fault. @return the HTTP status of the answer
unsigned judge(const collector::request_t& request, int& hits, bool raw) {
    unsigned status = 200;
    try {
        const collector::hit_t hit = read_hit(request);
        std::cout << "hit " << ++hits << ": " << describe(hit) << std::endl;
    } catch (const collector::malformed_hit_t& fault) {
        std::cout << "malformed: " << fault.what() << std::endl;
        status = 400;
    }
    if (raw)
        std::cout << "    raw: " << collector::quoted(request.body) << std::endl;
    return status;
}

void sum_up(const std::vector<collector::request_t>& requests) {
    int hits = 0;
    int malformed = 0;
    int connections = 0;
    for (const collector::request_t& request : requests) {
        ++(request.status == 200 ? hits : malformed);
        connections = std::max(connections, request.connection);
    }
    std::cout << counted(hits, "hit") << " over " << counted(connections, "connection") << ", " << malformed
              << " malformed" << std::endl;
}

// Some systems cannot send signals to other processes. Closing a pipe works on all systems.
void stop_when_input_ends() {
    std::thread([] {
        std::cin.ignore(std::numeric_limits<std::streamsize>::max());
        std::raise(SIGTERM);
    }).detach();
}

void collect(const options_t& options) {
    boost::asio::io_context context;
    boost::asio::signal_set signals(context, SIGINT, SIGTERM);
    signals.async_wait([](const boost::system::error_code&, int) {});
    int hits = 0;
    const collector::server_t server(
        [&hits, raw = options.raw](const auto& request) { return judge(request, hits, raw); },
        {options.port});
    std::cout << "listening on " << server.url() << std::endl;
    if (!options.port_file.empty())
        write_port_file(options.port_file, server.port());
    if (options.until_input_ends)
        stop_when_input_ends();
    context.run();
    sum_up(server.requests());
}

} // namespace

int main(int count, char** arguments) {
    try {
        const options_t options = parse_options(count, arguments);
        if (options.help)
            std::cout << usage;
        else
            collect(options);
        return 0;
    } catch (const usage_error_t& error) {
        std::cerr << "collector: " << error.what() << "\n" << usage;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "collector: " << error.what() << "\n";
        return 1;
    }
}
