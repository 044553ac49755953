// The C++ interface: the shared statistic object of the process, and a guard that reports an activity.
#pragma once

#include "ostrel/cxx_interface.h"
#include "ostrel/version.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>

namespace OSTREL_NAMESPACE {

/// The user's answer to the question whether usage may be collected.
enum virk_state_t : std::int32_t {
    vsUnknown = 0,  ///< no answer on file: the host should ask
    vsEnabled = 1,  ///< allowed by the user, or forced on by the environment
    vsDisabled = 2, ///< refused by the user, or switched off by the environment
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
/// All operations are thread-safe. Wide strings are UTF-16 on Windows and UTF-32 on Linux; malformed parts of
/// them are left out. Failures of delivery are never reported. The rules on the environment, exceptions and
/// re-entrance in ostrel.h hold here too.
///
/// The order of the virtual operations is fixed: hosts built against an earlier header call them by position.
class OSTREL_API statistic_t {
public:
    /// Blocks until the queued hits were posted or dropped, see ostrel_destroy_statistic.
    virtual ~statistic_t();

    /// Does nothing.
    virtual void reserved_slot_1() = 0;

    /// The machine id that every hit carries; empty if none was found. Reads no file.
    virtual std::wstring get_uuid() const = 0;

    /// Reports that a feature was used once. Never waits for the network.
    /// @param feature_name dotted name; dropped without a message unless the event filter enables it
    virtual void notify_feature_usage(const std::wstring& feature_name) = 0;

    /// Like notify_feature_usage, with a count that is logged and never sent.
    virtual void notify_feature_usage_ex(const std::wstring& feature_name, std::uint64_t value);

    /// Does nothing.
    virtual void reserved_slot_5() = 0;
    /// Does nothing.
    virtual void reserved_slot_6() = 0;
    /// Does nothing.
    virtual void reserved_slot_7() = 0;

    /// Returns true immediately. Hits are posted continuously; only destruction waits for them.
    virtual bool flush() = 0;

    /// Returns false.
    virtual bool reserved_slot_9() = 0;

    /// The current answer. Each call reads the environment and one small file.
    virtual virk_state_t get_consent_state() const;

    /// Records the user's answer for all of the maker's products and decides again whether this object
    /// collects. If the file cannot be written, the previous answer stays. May block while it resolves one
    /// DNS name.
    virtual void set_statistic_collection_enabled(bool enabled);

    /// The process-wide object: the same one for every caller while a reference to it exists, and a new one
    /// after the last reference was released.
    ///
    /// The object reports under the product name "vemtra", whatever the host is called. "vemtra" also names
    /// its settings folder, unless the configuration service names another one. The product version comes
    /// from the configuration service when the object is created; without a service it is "unknown". A host
    /// that wants its own product name uses ostrel_create_statistic.
    ///
    /// Creating the object may block and throw like ostrel_create_statistic. Other callers wait meanwhile.
    /// After a failure the next call tries again. A configuration service or log appender that calls get()
    /// while the object is created deadlocks.
    static boost::shared_ptr<statistic_t> get();
};

/// Reports one event on construction and another on destruction, each followed by flush.
///
/// One guard belongs to one thread. Guards on several threads may share a statistic object. Every destructor
/// reports the end event and only the constructor with arguments reports the begin event: copying a guard
/// therefore reports the end event once more.
class OSTREL_API statistic_guard_t {
public:
    /// Reports @p name + @p begin_suffix, joined without a separator.
    /// @param name         first part of both event names
    /// @param begin_suffix last part of the begin event's name
    /// @param end_suffix   last part of the end event's name
    /// @param statistic    receives both events; the guard shares its ownership; must not be null
    statistic_guard_t(const std::wstring& name, const std::wstring& begin_suffix,
                      const std::wstring& end_suffix, boost::shared_ptr<statistic_t> statistic);

    /// Reports nothing now; both guards will report the end event.
    statistic_guard_t(const statistic_guard_t& other);
    /// Reports nothing now. The replaced activity's end is not reported.
    statistic_guard_t& operator=(const statistic_guard_t& other);

    /// Reports the name followed by the end suffix. An exception from the report leaves the destructor.
    ~statistic_guard_t() noexcept(false);

private:
    std::wstring m_name;
    std::wstring m_begin_suffix;
    std::wstring m_end_suffix;
    boost::shared_ptr<statistic_t> m_statistic;
};

} // namespace OSTREL_NAMESPACE
