// The bridge to the maker's software manager: upload files, ask for feedback consent, updates and machine id.
#pragma once

#include "kiln2/path.h"
#include "ostrel/cxx_interface.h"
#include "ostrel/version.h"

#include <cstdint>
#include <string>
#include <vector>

namespace OSTREL_NAMESPACE {

/// Names the host product to the software manager. The bridge stores and returns it and never interprets it.
struct OSTREL_API product_id_t {
    std::uint32_t value = 0; ///< zero until the host sets one
};

/// Drives the software manager's tools: one child process for each call.
///
/// @code
/// OSTREL_NAMESPACE::pellar_accessor_impl_t bridge;
/// bridge.notify_gui_start();
/// if (bridge.is_feedback_enabled())
///     bridge.send_crash_report(report_file, false); // waits until the tool has ended
/// @endcode
///
/// All operations except set_product_id are thread-safe. Wide strings are UTF-16 on Windows and UTF-32 on
/// Linux; malformed parts of them are left out. A tool that is missing or fails throws no exception. No
/// process is started while OSTREL_DISABLE_PELLAR is set and not empty, and in a remote-desktop session.
///
/// An operation that waits has no timeout. The tools inherit the environment and the current folder. On Linux
/// they inherit only the three standard descriptors and neither signal mask nor ignored signals. On Windows a
/// tool that is not waited for also inherits every inheritable handle of the host. If a Linux host ignores
/// SIGCHLD or waits for any child, the tool's exit code is lost: the run counts as failed with the number of
/// ECHILD, although the tool has run.
///
/// The order of the virtual operations is fixed: hosts built against an earlier header call them by position.
class OSTREL_API pellar_accessor_t {
public:
    pellar_accessor_t() = default;
    pellar_accessor_t(const pellar_accessor_t&) = default;            ///< The interface has no data.
    pellar_accessor_t& operator=(const pellar_accessor_t&) = default; ///< The interface has no data.
    virtual ~pellar_accessor_t();

    /// Uploads a statistics file and waits. The tool deletes the file that it uploaded.
    /// @param file passed to the tool unchanged; a relative path is relative to the current folder
    /// @param force passes the tool's option "-f"
    /// @return true if the file no longer exists, whatever the tool's exit code; false if the tool is missing
    ///         or the session is remote
    virtual bool send_file(const kiln2::path_t& file, bool force) = 0;

    /// Uploads the usage package and waits.
    /// @return false if the tool is missing or the session is remote; true otherwise, also if the tool failed
    /// or
    ///         the bridge is switched off
    virtual bool send_usage_package() = 0;

    /// Like send_file, for a crash report.
    virtual bool send_crash_report(const kiln2::path_t& file, bool force) = 0;

    /// Asks the consent checker and waits.
    /// @return true if it exits with 0 or the bridge is switched off
    virtual bool is_feedback_enabled() const = 0;

    /// Tells the consent checker that the calling process shows its user interface. Does not wait and does
    /// not report whether the checker started.
    virtual void notify_gui_start() = 0;

    /// Has the manager look for updates, unless NORVANE_DISABLE_UPDATES_CHECK is set and not empty. Does not
    /// wait and does not report whether the manager started.
    /// @param product_guid passed on unchecked, also if it is empty
    virtual void check_for_updates(const std::wstring& product_guid) = 0;

    /// Stores a copy. Must not overlap with another call of this function or of get_product_id.
    virtual void set_product_id(const product_id_t& product_id) = 0;

    /// The id that was set last; zero before. The reference is valid as long as the object and shows later
    /// changes.
    virtual const product_id_t& get_product_id() const = 0;

    /// Asks the remote monitor for the machine id that the manager keeps, and waits. This is not the id that
    /// hits carry.
    ///
    /// The tool answers through a file in the folder that settor2::IProductLocations::getTempDir names. The
    /// folder must exist and should belong to the user alone. The answer is the file's first line in UTF-8,
    /// without its line end (LF or CR LF).
    /// @return empty if there is no answer, no configuration service or no such folder
    virtual std::wstring get_uuid() const = 0;

    /// "{00000000-0000-0000-0000-000000000000}": the value that stands for no product. The bridge does not
    /// read it.
    static const std::wstring DefaultProductGUID;
};

/// The implementation. Its only data is the product id: it may be created, copied and destroyed at any time,
/// also while tools that it started still run.
class OSTREL_API pellar_accessor_impl_t : public pellar_accessor_t {
public:
    /// The software manager's tools.
    enum pellar_tool_t : std::int32_t {
        tool_remote_monitor = 0,     ///< uploads files and tells the machine id
        tool_pellar = 1,             ///< looks for updates
        tool_check_virk_consent = 2, ///< tells the user's answer
    };

    pellar_accessor_impl_t();
    /// Copies the product id.
    pellar_accessor_impl_t(const pellar_accessor_impl_t& other);
    /// Copies the product id.
    pellar_accessor_impl_t& operator=(const pellar_accessor_impl_t& other);
    ~pellar_accessor_impl_t() override;

    bool send_file(const kiln2::path_t& file, bool force) override;
    bool send_usage_package() override;
    bool send_crash_report(const kiln2::path_t& file, bool force) override;
    bool is_feedback_enabled() const override;
    void notify_gui_start() override;
    void check_for_updates(const std::wstring& product_guid) override;
    void set_product_id(const product_id_t& product_id) override;
    const product_id_t& get_product_id() const override;
    std::wstring get_uuid() const override;

    /// Whether tools may be started: OSTREL_DISABLE_PELLAR is unset or empty. Each call reads it again.
    bool is_pellar_call_allowed() const;

    /// Whether NORVANE_DISABLE_UPDATES_CHECK is unset or empty. Each call reads it again.
    bool is_check_for_updates_enabled() const;

private:
    kiln2::path_t get_pellar_location(pellar_tool_t tool) const;
    int invoke_pellar(pellar_tool_t tool, const std::vector<std::wstring>& arguments, bool sync) const;

    product_id_t m_product_id;
};

} // namespace OSTREL_NAMESPACE
