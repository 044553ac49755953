// Collection policy and local state: whether anything may be collected at all.
#pragma once

#include "kiln2/path.h"
#include "ostrel/statistic.h"
#include "statistic_impl/network_check.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace OSTREL_NAMESPACE {

/// The collection policy of a statistic object. The constructor determines folders and machine id once. It
/// takes the decision, and recording an answer of the user takes it again.
///
/// Thread-safe; takes no lock.
class statistic_impl_t : public statistic_t {
public:
    /// The combined state of the environment switches.
    enum env_vars_state_t : std::int32_t {
        evsEnabled = 0,                ///< no switch is set
        evsEnabledForced = 1,          ///< forced on by the environment
        evsEnabledUnconditionally = 2, ///< forced on by the build
        evsDisabled = 3,               ///< switched off by the environment
    };

    void reserved_slot_1() override;
    std::wstring get_uuid() const override;
    void notify_feature_usage(const std::wstring& feature_name) override;
    void notify_feature_usage_ex(const std::wstring& feature_name, std::uint64_t value) override = 0;
    bool reserved_slot_9() override;
    virk_state_t get_consent_state() const override;
    void set_statistic_collection_enabled(bool enabled) override;

    /// Reads the switches again. A disabling switch wins over the forcing one, whatever their values.
    static env_vars_state_t get_env_vars_state();

    /// Whether the environment forbids sending files; for users of the class.
    bool is_send_files_disabled() const;

    /// Takes the decision again without storing it in the object. May block while it resolves a name.
    bool is_enabled() const;

protected:
    /// Creates the folders, finds the machine id and takes the decision. Throws if a folder cannot be
    /// created. make_plan computes the results of these steps in advance.
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
