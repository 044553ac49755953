// The bridge to the maker's software manager: upload files, ask for feedback consent, updates and machine id.
#pragma once

#include "kiln2/path.h"
#include "ostrel/export.h"
#include "ostrel/version.h"

#include <cstdint>
#include <string>
#include <vector>

namespace OSTREL_NAMESPACE {

/// Names the host product to the software manager. Only kept and handed back, never interpreted.
struct OSTREL_API product_id_t {
    std::uint32_t value = 0; ///< zero until the host sets one
};

/// Drives the software manager's tools, one child process a call.
///
/// Every operation but set_product_id may be called from several threads at once. Wide texts are UTF-16 on
/// Windows and code points on Linux; whatever is malformed in them is dropped. Nothing is thrown for a tool
/// that is missing or fails. While OSTREL_DISABLE_PELLAR is set to any text but the empty one, and in a
/// remote-desktop session, no process is started.
///
/// An operation that waits does so without a time limit. The tools inherit environment and current folder;
/// on Linux no descriptor beyond the standard three, and no signal mask or ignored signal. A Linux host that
/// ignores SIGCHLD or collects all children itself takes the exit codes away: such a run counts as failed
/// with the number of ECHILD, after the tool has ended.
///
/// The order of the virtual operations is fixed: hosts that were built against an earlier header call them by
/// position.
class OSTREL_API pellar_accessor_t {
public:
    pellar_accessor_t() = default;
    pellar_accessor_t(const pellar_accessor_t&) = default;            ///< Nothing is kept here.
    pellar_accessor_t& operator=(const pellar_accessor_t&) = default; ///< Nothing is kept here.
    virtual ~pellar_accessor_t();

    /// Uploads a statistics file and waits. The tool deletes what it uploaded.
    /// @param file handed to the tool as it is; a relative one is relative to the current folder
    /// @param force passes the tool's switch "-f"
    /// @return whether the file is gone afterwards, whatever the tool's exit code; false when the tool is
    ///         missing, and for a remote session
    virtual bool send_file(const kiln2::path_t& file, bool force) = 0;

    /// Uploads the usage package and waits.
    /// @return false when the tool is missing, and for a remote session; true otherwise, also when the tool
    ///         failed or the bridge is switched off
    virtual bool send_usage_package() = 0;

    /// As send_file, for a crash report.
    virtual bool send_crash_report(const kiln2::path_t& file, bool force) = 0;

    /// Asks the consent checker and waits. True when it exits with 0, and when the bridge is switched off.
    virtual bool is_feedback_enabled() const = 0;

    /// Tells the consent checker that the calling process shows its user interface. Does not wait, and does
    /// not report whether the checker could be started.
    virtual void notify_gui_start() = 0;

    /// Has the manager look for updates, unless NORVANE_DISABLE_UPDATES_CHECK is set to any text but the
    /// empty one. Does not wait, and does not report whether the manager could be started.
    /// @param product_guid passed on without any check, also when it is empty
    virtual void check_for_updates(const std::wstring& product_guid) = 0;

    /// Keeps a copy. Not to be called while another thread calls this or get_product_id.
    virtual void set_product_id(const product_id_t& product_id) = 0;

    /// The id set last, zero before. The reference holds as long as the object and follows later changes.
    virtual const product_id_t& get_product_id() const = 0;

    /// Asks the remote monitor for the machine id that the manager keeps, and waits. It is not the id that
    /// hits carry.
    ///
    /// The answer comes through a file in the folder that settor2::IProductLocations::getTempDir names, which
    /// must exist: its first line, UTF-8, without its line end (LF or CR LF).
    /// @return empty when there is no answer, no service or no such folder
    virtual std::wstring get_uuid() const = 0;

    /// "{00000000-0000-0000-0000-000000000000}", which stands for no product. Not read by the bridge.
    static const std::wstring DefaultProductGUID;
};

/// The bridge itself. Holds nothing but the product id: make, copy and destroy it freely, also while tools
/// that it started still run.
class OSTREL_API pellar_accessor_impl_t : public pellar_accessor_t {
public:
    /// The tools, by what they do.
    enum pellar_tool_t : std::int32_t {
        tool_remote_monitor = 0,     ///< uploads, and knows the machine id
        tool_pellar = 1,             ///< looks for updates
        tool_check_virk_consent = 2, ///< knows the user's answer
    };

    pellar_accessor_impl_t();
    /// With the same product id.
    pellar_accessor_impl_t(const pellar_accessor_impl_t& other);
    /// Takes the product id over.
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

    /// Whether any tool may be started: OSTREL_DISABLE_PELLAR is missing or empty. Read at every call.
    bool is_pellar_call_allowed() const;

    /// Whether NORVANE_DISABLE_UPDATES_CHECK is missing or empty. Read at every call.
    bool is_check_for_updates_enabled() const;

private:
    kiln2::path_t get_pellar_location(pellar_tool_t tool) const;
    int invoke_pellar(pellar_tool_t tool, const std::vector<std::wstring>& arguments, bool sync) const;

    product_id_t m_product_id;
};

} // namespace OSTREL_NAMESPACE
