// The C++ interface: the shared statistic object of the process, and a guard that reports an activity.
#pragma once

#include "ostrel/export.h"
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
/// Every operation may be called from several threads at once. Wide texts are UTF-16 on Windows and code
/// points on Linux; whatever is malformed in them is dropped. Nothing about delivery is ever reported.
///
/// The order of the virtual operations is fixed: hosts that were built against an earlier header call them by
/// position.
class OSTREL_API statistic_t {
public:
    /// Blocks until the hits queued so far were handled, see ostrel_destroy_statistic.
    virtual ~statistic_t();

    /// Does nothing.
    virtual void reserved_slot_1() = 0;

    /// The machine id that every hit carries; empty when none could be found. Reads no file.
    virtual std::wstring get_uuid() const = 0;

    /// Reports that a feature was used once.
    /// @param feature_name dotted name; dropped silently unless the event filter enables it
    /// Never waits for the network.
    virtual void notify_feature_usage(const std::wstring& feature_name) = 0;

    /// As notify_feature_usage, with a count that goes to the log only and is never sent.
    virtual void notify_feature_usage_ex(const std::wstring& feature_name, std::uint64_t value);

    /// Does nothing.
    virtual void reserved_slot_5() = 0;
    /// Does nothing.
    virtual void reserved_slot_6() = 0;
    /// Does nothing.
    virtual void reserved_slot_7() = 0;

    /// Returns true at once. Hits are posted as they come; only destruction waits for them.
    virtual bool flush() = 0;

    /// Returns false.
    virtual bool reserved_slot_9() = 0;

    /// The answer as it stands now; reads the environment and one small file at every call.
    virtual virk_state_t get_consent_state() const;

    /// Records the user's answer for all of the maker's products and decides afresh whether this object
    /// collects. A file that cannot be written is ignored. May block while it resolves one DNS name.
    virtual void set_statistic_collection_enabled(bool enabled);

    /// The object that the process shares: the same one for every caller while somebody holds it, a new one
    /// after the last holder let go.
    ///
    /// The product version is asked of the host's product-locations service when the object is made. Making
    /// the object may block and throw as ostrel_create_statistic does, and other callers wait meanwhile; a
    /// failure leaves nothing behind, so that the next call tries again.
    static boost::shared_ptr<statistic_t> get();
};

/// Reports one event when it is made and another when it is destroyed, each followed by flush.
///
/// One object belongs to one thread; copies on several threads may share their statistic object. A copy
/// reports no begin, yet every destructor reports the end: copying a guard reports the end once more.
class OSTREL_API statistic_guard_t {
public:
    /// Reports @p name + @p begin_suffix; the parts are joined without a separator.
    /// @param name         what both events begin with
    /// @param begin_suffix ends the first one
    /// @param end_suffix   ends the second one
    /// @param statistic    receives both events and is kept alive; must not be null
    statistic_guard_t(const std::wstring& name, const std::wstring& begin_suffix,
                      const std::wstring& end_suffix, boost::shared_ptr<statistic_t> statistic);

    /// Reports nothing now; each of the two will report the end.
    statistic_guard_t(const statistic_guard_t& other);
    /// Reports nothing now, not even the end of what stood here before.
    statistic_guard_t& operator=(const statistic_guard_t& other);

    /// Reports the name followed by the end suffix. What the report throws leaves the destructor.
    ~statistic_guard_t() noexcept(false);

private:
    std::wstring m_name;
    std::wstring m_begin_suffix;
    std::wstring m_end_suffix;
    boost::shared_ptr<statistic_t> m_statistic;
};

} // namespace OSTREL_NAMESPACE
