// The bridge to the software manager: file upload, feedback consent, update check and machine id.
#pragma once

#include "kiln2/path.h"
#include "ostrel/cxx_interface.h"
#include "ostrel/version.h"

#include <cstdint>
#include <string>
#include <vector>

namespace OSTREL_NAMESPACE {

/// A number that the host chooses for its product. The bridge only stores and returns the number.
struct OSTREL_API product_id_t {
    std::uint32_t value = 0; ///< zero until the host sets a value
};

/// Starts the tools of the software manager, a separate product of the maker. Each tool runs as a child
/// process: the remote monitor (file upload, machine id), the consent checker or the manager (update check).
///
/// @code
/// OSTREL_NAMESPACE::pellar_accessor_impl_t bridge;
/// bridge.notify_gui_start();
/// if (bridge.is_feedback_enabled())
///     bridge.send_crash_report(report_file, false); // waits until the tool has exited
/// @endcode
///
/// All operations except set_product_id are thread-safe. An operation that waits for a tool has no timeout.
/// Wide strings are UTF-16 on Windows and UTF-32 on Linux; malformed code units are left out.
///
/// No operation throws because a tool is missing or fails. No tool is started in two cases:
/// - The bridge is turned off: OSTREL_DISABLE_PELLAR is set and not empty. The results are those of a tool
///   that does nothing and exits with code 0. For example, is_feedback_enabled returns true.
/// - The session is remote: a Remote Desktop session on Windows; on Linux XRDP_SESSION is set and not empty.
///   The results are those of a missing tool. For example, is_feedback_enabled returns false.
///
/// The tools inherit the environment and the current folder. Other inherited state depends on the system:
/// - Linux: a tool inherits no signal mask and no ignored signals. If the operation waits, the tool inherits
///   only the three standard descriptors. Otherwise the tool has /dev/null as standard descriptors and runs
///   in its own session.
/// - Windows: if the operation waits, the tool inherits no handle. Otherwise it inherits every inheritable
///   handle of the host.
///
/// On Linux, the bridge cannot read the exit code if the host ignores SIGCHLD or reaps child processes that
/// it did not start, for example with waitpid(-1). Then is_feedback_enabled returns false, although the
/// checker has run. The other operations do not depend on the exit code.
///
/// The order of the virtual operations is fixed: hosts built against an earlier header call them by position.
class OSTREL_API pellar_accessor_t {
public:
    pellar_accessor_t() = default;
    pellar_accessor_t(const pellar_accessor_t&) = default;            ///< The interface has no data.
    pellar_accessor_t& operator=(const pellar_accessor_t&) = default; ///< The interface has no data.
    virtual ~pellar_accessor_t();

    /// Uploads a statistics file and waits. The tool deletes the file after the upload.
    /// @param file passed to the tool unchanged; a relative path is relative to the current folder
    /// @param force passes the option "-f" to the tool
    /// @return false if the tool is missing. Otherwise whether the file no longer exists, whatever the exit
    ///         code.
    virtual bool send_file(const kiln2::path_t& file, bool force) = 0;

    /// Uploads the usage package and waits.
    /// @return false if the tool is missing; otherwise true, even if the tool failed
    virtual bool send_usage_package() = 0;

    /// Like send_file, for a crash report.
    virtual bool send_crash_report(const kiln2::path_t& file, bool force) = 0;

    /// Asks the consent checker whether the user agreed to send feedback, and waits.
    /// @return whether the checker exits with code 0
    virtual bool is_feedback_enabled() const = 0;

    /// Tells the consent checker that the calling process shows its user interface. Does not wait for the
    /// checker and reports no errors.
    virtual void notify_gui_start() = 0;

    /// Starts the manager's check for updates, unless NORVANE_DISABLE_UPDATES_CHECK is set and not empty.
    /// Does not wait for the check and reports no errors.
    /// @param product_guid passed to the tool without a check; may be empty
    virtual void check_for_updates(const std::wstring& product_guid) = 0;

    /// Stores a copy of @p product_id. Must not run concurrently with itself or with get_product_id.
    virtual void set_product_id(const product_id_t& product_id) = 0;

    /// The id that was set last, or zero. The reference is valid while this object exists. A later
    /// set_product_id changes the value that the reference shows.
    virtual const product_id_t& get_product_id() const = 0;

    /// Asks the remote monitor for the software manager's own machine id, and waits. Hits contain another
    /// machine id.
    ///
    /// The tool writes its answer into a file in the folder that settor2::IProductLocations::getTempDir
    /// returns. The folder must exist and should be accessible to the user only. The answer is the first line
    /// of the file, UTF-8 encoded, without its line end (LF or CR LF).
    /// @return the id. Empty if no tool was started, if the tool gave no answer, if no configuration service
    ///         is installed, or if the folder is missing.
    virtual std::wstring get_uuid() const = 0;

    /// "{00000000-0000-0000-0000-000000000000}": a product_guid that means no product. The bridge does not
    /// use it.
    static const std::wstring DefaultProductGUID;
};

/// The implementation of the bridge. An object may be created, copied and destroyed at any time, also while
/// tools that it started still run. Its only data is the product id.
class OSTREL_API pellar_accessor_impl_t : public pellar_accessor_t {
public:
    /// The software manager's tools.
    enum pellar_tool_t : std::int32_t {
        tool_remote_monitor = 0,     ///< uploads files and answers with the machine id
        tool_pellar = 1,             ///< checks for updates
        tool_check_virk_consent = 2, ///< the consent checker
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

    /// Whether tools may be started: OSTREL_DISABLE_PELLAR is unset or empty. Each call reads the variable
    /// again.
    bool is_pellar_call_allowed() const;

    /// Whether NORVANE_DISABLE_UPDATES_CHECK is unset or empty. Each call reads the variable again.
    bool is_check_for_updates_enabled() const;

private:
    kiln2::path_t get_pellar_location(pellar_tool_t tool) const;
    int invoke_pellar(pellar_tool_t tool, const std::vector<std::wstring>& arguments, bool sync) const;

    product_id_t m_product_id;
};

} // namespace OSTREL_NAMESPACE
