// The collection policy and the local state of a statistic object.
#pragma once

#include "kiln2/path.h"
#include "ostrel/statistic.h"
#include "statistic_impl/network_check.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace OSTREL_NAMESPACE {

/// Decides whether an object collects. The constructor creates the folders, finds the machine id and makes
/// the decision. set_statistic_collection_enabled makes the decision again.
///
/// Thread-safe. Takes no lock.
class statistic_impl_t : public statistic_t {
public:
    /// The combined state of the environment switches.
    enum env_vars_state_t : std::int32_t {
        evsEnabled = 0,                ///< no switch is set
        evsEnabledForced = 1,          ///< turned on by the environment
        evsEnabledUnconditionally = 2, ///< turned on by the build
        evsDisabled = 3,               ///< turned off by the environment
    };

    void reserved_slot_1() override;
    std::wstring get_uuid() const override;
    void notify_feature_usage(const std::wstring& feature_name) override;
    void notify_feature_usage_ex(const std::wstring& feature_name, std::uint64_t value) override = 0;
    bool reserved_slot_9() override;
    virk_state_t get_consent_state() const override;
    void set_statistic_collection_enabled(bool enabled) override;

    /// Reads the switches at each call. A disabling switch overrides the forcing switch, whatever their
    /// values.
    static env_vars_state_t get_env_vars_state();

    /// Whether NORVANE_DONOTSEND_FEEDBACK is set and not empty. The library itself does not call this
    /// function.
    bool is_send_files_disabled() const;

    /// Makes the decision again and returns it, but does not store it. May block while it resolves a name.
    bool is_enabled() const;

protected:
    /// Throws if a folder cannot be created. make_plan computes the constructor's results without creating
    /// anything.
    statistic_impl_t(const std::wstring& product_id, const std::wstring& product_version,
                     resolver_t resolver);

    bool is_collecting() const { return m_enabled.load(std::memory_order_acquire); }
    const std::wstring& product_id() const { return m_product_id; }
    const std::wstring& product_version() const { return m_product_version; }
    const kiln2::path_t& statistic_dir() const { return m_statistic_dir; }
    const std::wstring& uuid() const { return m_uuid; }

private:
    bool init_settings_paths();
    std::wstring load_uuid();

    std::wstring m_virk_path;
    std::wstring m_uuid_path;
    std::wstring m_uuid;
    std::wstring m_product_id;
    std::wstring m_product_version;
    kiln2::path_t m_statistic_dir;
    std::string m_corporate_domain;
    resolver_t m_resolver;
    std::atomic<bool> m_enabled{false};
};

} // namespace OSTREL_NAMESPACE
