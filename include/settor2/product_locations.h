// The host's configuration service: where the product lies and what it is called.
#pragma once

#include "ostrel/export.h"

#include <string>

namespace settor2 {

/// Implemented by the host and installed once, before it makes its first statistic object. Without a service
/// the product id names the settings folder, the shared object's version is "unknown" and no event is enabled
/// but the "run." ones.
///
/// The operations may be called from any thread that calls into the library, several at once. Texts are
/// UTF-16 on Windows and code points on Linux. A returned pointer stays valid as long as the service is
/// installed.
class OSTREL_API IProductLocations {
public:
    virtual ~IProductLocations();

    /// The product's version, joined as major.minor.build.
    virtual void getVersion(int& major, int& minor, int& build) const = 0;

    /// Kind 6 is the name of the product's folder below the company folder; empty means that the product id
    /// serves. No other kind is asked for.
    virtual std::wstring getLocation(int kind) const = 0;

    /// The folder that holds statistic/enabled_stat_events.xml, the list of events that may be reported.
    virtual const wchar_t* getFolder() const = 0;

    /// The folder for exchange files with the software manager; empty when there is none.
    virtual const wchar_t* getTempDir() const = 0;

    /// Whether this installation comes with the software manager; when it does not, its absence is an error.
    virtual bool isManagerExpected() const = 0;

    /// The installed service, null when there is none.
    static IProductLocations* get();

    /// Installs a service for the whole process; null removes it. The service is not owned and must outlive
    /// its use: remove it when no statistic object is being made and no bridge call is under way.
    static void install(IProductLocations* service);
};

} // namespace settor2
