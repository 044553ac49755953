// The example's collector in the test process. By default, the status of every answer is 200.
#pragma once

#include "collector/server.h"

namespace test_support {

using collector::request_t;

struct collector_t : collector::server_t {
    explicit collector_t(judge_t status = [](const auto&) { return 200U; }) : server_t(std::move(status)) {}

    std::vector<std::string> bodies() const {
        std::vector<std::string> result;
        for (const request_t& request : requests())
            result.push_back(request.body);
        return result;
    }
};

} // namespace test_support
