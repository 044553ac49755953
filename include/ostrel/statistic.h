// The C++ interface: the process's shared statistic object, and a guard that reports an activity.
#pragma once

#include "ostrel/cxx_interface.h"
#include "ostrel/version.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>

namespace OSTREL_NAMESPACE {

/// The user's answer to the question whether usage may be collected.
enum virk_state_t : std::int32_t {
    vsUnknown = 0,  ///< no answer is stored: the host should ask
    vsEnabled = 1,  ///< allowed by the user, or forced on by the environment
    vsDisabled = 2, ///< refused by the user, or turned off by the environment
};

/// Reports feature usage and manages the user's consent.
///
/// @code
/// namespace ostrel = OSTREL_NAMESPACE;
/// const auto statistic = ostrel::statistic_t::get(); // keep it: the last release destroys the object
/// if (statistic->get_consent_state() == ostrel::vsUnknown)
///     statistic->set_statistic_collection_enabled(ask_the_user());
/// statistic->notify_feature_usage(L"run.build");
/// @endcode
///
/// All operations are thread-safe. Wide strings are UTF-16 on Windows and UTF-32 on Linux; malformed code
/// units are left out. Failures of delivery are never reported. The terms and the rules on fork, environment,
/// exceptions and re-entrance in ostrel.h apply here too.
///
/// The order of the virtual operations is fixed: hosts built against an earlier header call them by position.
/// The reserved operations only keep the positions of the others. Hosts do not call them.
class OSTREL_API statistic_t {
public:
    /// Blocks until every queued hit is posted or dropped, see ostrel_destroy_statistic.
    virtual ~statistic_t();

    /// Does nothing.
    virtual void reserved_slot_1() = 0;

    /// The machine id that every hit carries. Empty if there is no machine id: the object then collects
    /// nothing. Accesses no file and does not block.
    virtual std::wstring get_uuid() const = 0;

    /// Reports that a feature was used once, see ostrel_notify_feature_usage. Never waits for the network.
    /// @param feature_name dotted name
    virtual void notify_feature_usage(const std::wstring& feature_name) = 0;

    /// Like notify_feature_usage.
    /// @param feature_name dotted name
    /// @param value        a count, which is logged and never sent
    virtual void notify_feature_usage_ex(const std::wstring& feature_name, std::uint64_t value);

    /// Does nothing.
    virtual void reserved_slot_5() = 0;
    /// Does nothing.
    virtual void reserved_slot_6() = 0;
    /// Does nothing.
    virtual void reserved_slot_7() = 0;

    /// No-op that returns true: a background thread posts hits continuously. Only destruction waits for them.
    virtual bool flush() = 0;

    /// Returns false.
    virtual bool reserved_slot_9() = 0;

    /// The user's current answer. An environment switch overrides the stored answer. Each call reads the
    /// environment and, if no switch is set, one small file.
    virtual virk_state_t get_consent_state() const;

    /// Records the user's answer for all of the maker's products of this user, and decides again whether this
    /// object collects. If the answer cannot be stored, the previous answer remains and no error is reported.
    /// May block while it resolves one DNS name.
    /// @param enabled true for consent, false for refusal
    virtual void set_statistic_collection_enabled(bool enabled);

    /// Returns the object that the whole process shares. While a reference to the object exists, every call
    /// returns this object. After the last reference is released, the next call creates a new object.
    ///
    /// The product name in its hits is always "vemtra". "vemtra" also names the settings folder, unless the
    /// configuration service names another folder. The object takes the product version from the
    /// configuration service when it is created; without a service the version is "unknown". A host that
    /// wants its own product name uses ostrel_create_statistic.
    ///
    /// A call that creates the object may block and throw like ostrel_create_statistic. Concurrent calls wait
    /// for it. After an exception, the next call tries again. If a configuration service or a log appender
    /// calls get() while the object is created, the process deadlocks.
    /// @return never null
    static boost::shared_ptr<statistic_t> get();
};

/// Reports the begin of an activity on construction and its end on destruction. Calls flush after each
/// report.
///
/// @code
/// // Reports session.build.begin here and session.build.end on destruction.
/// const ostrel::statistic_guard_t build(L"session.build", L".begin", L".end", statistic);
/// @endcode
///
/// The class is not thread-safe: use one guard on one thread. Guards on several threads may share a statistic
/// object. A copy of a guard reports no begin event, but its destructor reports the end event once more.
class OSTREL_API statistic_guard_t {
public:
    /// Reports @p name + @p begin_suffix. No separator is added.
    /// @param name         first part of both feature names
    /// @param begin_suffix last part of the feature name that the constructor reports
    /// @param end_suffix   last part of the feature name that the destructor reports
    /// @param statistic    receives both events; must not be null; the guard shares ownership
    statistic_guard_t(const std::wstring& name, const std::wstring& begin_suffix,
                      const std::wstring& end_suffix, boost::shared_ptr<statistic_t> statistic);

    /// Reports nothing now. Both guards report the end event when they are destroyed.
    statistic_guard_t(const statistic_guard_t& other);
    /// Reports nothing now. The replaced activity's end is not reported.
    statistic_guard_t& operator=(const statistic_guard_t& other);

    /// Reports name + end suffix. The destructor can throw: it lets an exception of the report pass.
    /// If the guard holds the last reference, it also destroys the statistic object, which may block.
    ~statistic_guard_t() noexcept(false);

private:
    std::wstring m_name;
    std::wstring m_begin_suffix;
    std::wstring m_end_suffix;
    boost::shared_ptr<statistic_t> m_statistic;
};

} // namespace OSTREL_NAMESPACE
