// The host's configuration service: the product's version, folder names and folders.
#pragma once

#include "ostrel/cxx_interface.h"

#include <string>

namespace settor2 {

/// The configuration service. The host implements it and installs it before it creates its first statistic
/// object:
///
/// @code
/// static my_locations_t locations; // derived from settor2::IProductLocations
/// settor2::IProductLocations::install(&locations);
/// const auto statistic = OSTREL_NAMESPACE::statistic_t::get();
/// @endcode
///
/// If no service is installed:
/// - the product id names the settings folder;
/// - the object that statistic_t::get returns has the version "unknown";
/// - only "run." events are enabled.
///
/// The library calls the operations on any thread that calls the library, also concurrently. An operation
/// that creates a statistic object deadlocks. An exception from an operation reaches the caller of the
/// library. Wide strings are UTF-16 on Windows and UTF-32 on Linux.
/// Returned pointers must stay valid while the service is installed; null counts as empty.
class OSTREL_API IProductLocations {
public:
    virtual ~IProductLocations();

    /// Returns the product's version. Every hit of the object that statistic_t::get returns carries the
    /// version as the text "major.minor.build".
    virtual void getVersion(int& major, int& minor, int& build) const = 0;

    /// Returns the name of a folder.
    /// @param kind always 6: the name of the product's folder. The library puts its settings into
    ///        LOCAL_APP_DATA/Norvane Corporation/NAME/settings/statistic.
    /// @return the name; if it is empty, the product id names the folder
    virtual std::wstring getLocation(int kind) const = 0;

    /// Returns the folder that contains statistic/enabled_stat_events.xml. This file is the event filter: the
    /// list of feature names that may be sent. Empty: there is no event filter.
    virtual const wchar_t* getFolder() const = 0;

    /// Returns an existing folder in which pellar_accessor_t and the software manager exchange files, see
    /// ostrel/pellar_accessor.h. Use a folder that only the user can access, not a shared folder such as
    /// /tmp. Empty: there is no such folder.
    virtual const wchar_t* getTempDir() const = 0;

    /// Controls the log if a tool of the software manager is missing. False: pellar_accessor_t logs an error.
    /// True: it logs nothing.
    virtual bool isManagerExpected() const = 0;

    /// Returns the installed service, or null if there is none. Thread-safe.
    static IProductLocations* get();

    /// Installs a service for the whole process. Null removes the installed service. The caller keeps
    /// ownership.
    ///
    /// Remove a service before you destroy it. Remove or replace it only while no thread creates a statistic
    /// object or uses pellar_accessor_t.
    static void install(IProductLocations* service);
};

} // namespace settor2
