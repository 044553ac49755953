// The host that is measured: its folders, its event filter, its switches and the names that it reports.
#pragma once

#include <filesystem>
#include <string>

namespace bench {

// 20 characters each, as is every name in the filter.
constexpr const char* routed_name = "editor.file.openfile";
constexpr const char* escaped_name = "editor.f\xC3\xADle.open fil";
constexpr const char* missed_name = "editor.mile.openfile";

constexpr const char* machine_id = "3F2A0C91-7B44-E012-9C5D-0A1B2C3D4E5F";
constexpr const char* product = "vemtra";
constexpr const char* version = "7.1.312";

/// A data folder and an environment of our own; the destructor removes the folder. Logging is as in a host
/// that never touches log4cplus.
class workspace_t {
public:
    workspace_t();
    ~workspace_t();
    workspace_t(const workspace_t&) = delete;
    workspace_t& operator=(const workspace_t&) = delete;

    /// Writes the filter that objects made from now on read: @p names in all, routed_name and escaped_name
    /// among them.
    void set_filter(int names) const;
    std::string folder() const { return m_folder.string(); }

private:
    std::filesystem::path m_folder;
};

/// Switches the library's logger off, or back to how log4cplus makes it.
void silence(bool is_silent);
/// Sets the switch for objects made from now on.
void collect(bool enabled);
/// Where objects made from now on post to.
void post_to(const std::string& url);
/// A port where nobody listens: the first hit fails, and from then on the sending thread only empties the
/// queue.
constexpr const char* nowhere = "http://127.0.0.1:9/collect";

} // namespace bench
