// The host's configuration service: where the product lies and what it is called.
#pragma once

#include "ostrel/cxx_interface.h"

#include <string>

namespace settor2 {

/// The configuration service: implemented by the host and installed before it creates its first statistic
/// object.
///
/// Without a service the product id names the settings folder, the version of the object that
/// statistic_t::get returns is "unknown", and only "run." events are enabled.
///
/// Any thread that calls the library may call the operations, also concurrently. Wide strings are UTF-16 on
/// Windows and UTF-32 on Linux. Returned pointers stay valid while the service is installed. An exception
/// from an operation reaches the caller of the library. An operation must not create a statistic object: that
/// deadlocks.
class OSTREL_API IProductLocations {
public:
    virtual ~IProductLocations();

    /// The product's version, which becomes the text major.minor.build.
    virtual void getVersion(int& major, int& minor, int& build) const = 0;

    /// Kind 6 is the name of the product's folder below the company folder. If it is empty, the product id is
    /// used. The library asks for no other kind.
    virtual std::wstring getLocation(int kind) const = 0;

    /// The folder that holds statistic/enabled_stat_events.xml, the list of events that may be reported.
    /// Empty: there is no list.
    virtual const wchar_t* getFolder() const = 0;

    /// The folder for exchange files with the software manager; empty if there is none. Name a private folder
    /// of the user, not a shared one such as /tmp.
    virtual const wchar_t* getTempDir() const = 0;

    /// Whether the bridge says nothing about a missing tool of the software manager. False: it logs an error.
    /// True: it logs nothing.
    virtual bool isManagerExpected() const = 0;

    /// The installed service; null if there is none.
    static IProductLocations* get();

    /// Installs a service for the whole process; null removes it. The caller keeps ownership. Remove the
    /// service before its destruction, and only while no statistic object is being created and no bridge call
    /// is running.
    static void install(IProductLocations* service);
};

} // namespace settor2
