// The command of a watched run: reports, posts, prints and ends as its arguments say.
#include "http_connector/http_connector.h"
#include "ostrel/ostrel.h"
#include "support/system.h"

#include <cstdlib>
#include <iostream>

namespace {

void post(std::string url, const std::string& body) {
    OSTREL_NAMESPACE::http_connector_t(url.c_str()).send(body);
}

std::string variable(const std::string& name) {
    const char* const value = std::getenv(name.c_str());
    return value == nullptr ? "(unset)" : value;
}

} // namespace

int main(int argc, char** argv) {
    int status = 0;
    for (const std::string& argument : test_support::utf8_arguments(argc, argv)) {
        const std::string action = argument.substr(0, argument.find('='));
        const std::string value = argument.substr(argument.find('=') + 1);
        const std::string url = variable("OSTREL_COLLECTION_URL");
        if (action == "exit")
            status = static_cast<int>(std::stoul(value));
        else if (action == "post")
            post(url, value);
        else if (action == "post-long") // longer than an argument may be
            post(url, std::string(std::stoul(value), 'x'));
        else if (action == "post-elsewhere")
            post(url.substr(0, url.find('/', 8)) + "/collect", value);
        else if (action == "show")
            std::cout << variable(value) << "\n";
        else
            std::cout << "[" << argument << "]\n";
        if (action != "report")
            continue;
        statistic_handle_t* const handle = ostrel_create_statistic("watched", "1 & 2");
        ostrel_notify_feature_usage(handle, value.c_str());
        ostrel_destroy_statistic(handle);
    }
    std::cout.flush();
    return status;
}
