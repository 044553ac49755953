// The lines that the library logs, kept in memory.
#pragma once

#include <string>
#include <vector>

namespace test_support {

struct log_line_t {
    int level = 0;
    std::string text; ///< UTF-8
    std::string file;
    int line = 0;
};

/// Listens to one logger while it lives.
class log_capture_t {
public:
    /// @param level the lowest level to let through, as log4cplus numbers them
    explicit log_capture_t(const std::string& logger = "ostrel.statistic", int level = 0);
    ~log_capture_t();
    log_capture_t(const log_capture_t&) = delete;
    log_capture_t& operator=(const log_capture_t&) = delete;

    std::vector<log_line_t> lines() const;
    /// The texts alone.
    std::vector<std::string> texts() const;
    /// How many lines have exactly this text.
    int count(const std::string& text) const;
    void clear();

private:
    struct impl_t;
    impl_t* m_impl;
};

} // namespace test_support
