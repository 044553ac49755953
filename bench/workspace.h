// The measured host: its folders, its event filter, its environment variables and the names that it reports.
#pragma once

#include <filesystem>
#include <string>

namespace bench {

// Each has 20 characters, like every name in the filter.
constexpr const char* routed_name = "editor.file.openfile";
constexpr const char* escaped_name = "editor.f\xC3\xADle.open fil";
constexpr const char* missed_name = "editor.mile.openfile";

constexpr const char* machine_id = "3F2A0C91-7B44-E012-9C5D-0A1B2C3D4E5F";
constexpr const char* product = "vemtra";
constexpr const char* version = "7.1.312";

/// A temporary data folder, and the environment variables of a host that never uses log4cplus. The destructor
/// removes the folder.
class workspace_t {
public:
    workspace_t();
    ~workspace_t();
    workspace_t(const workspace_t&) = delete;
    workspace_t& operator=(const workspace_t&) = delete;

    /// Writes the filter for objects that are created later. It has @p names names. The first
    /// two are routed_name and escaped_name.
    void set_filter(int names) const;
    std::string folder() const { return m_folder.string(); }

private:
    std::filesystem::path m_folder;
};

/// Switches the library's logger off, or back to the default of log4cplus.
void silence(bool is_silent);
/// Switches collection on or off for objects that are created later.
void collect(bool enabled);
/// Sets the endpoint of objects that are created later.
void post_to(const std::string& url);
/// No program listens on this port. So the first hit fails, and the sending thread drops all later hits.
constexpr const char* nowhere = "http://127.0.0.1:9/collect";

} // namespace bench
