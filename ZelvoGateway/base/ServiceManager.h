#pragma once

#include "base/Clock.h"

#include <string>

namespace zelvo::service {

/// The service manager that started this program, if it asked to be notified by NOTIFY_SOCKET, as systemd
/// does; else nothing happens. The variable stays set, since the gateway starts no programs that could
/// inherit it.
/// Thread: any.
class ServiceManager {
public:
    /// Requests are answered, or a reload has ended. status: one line for people
    static void reportReady(std::string const& status);
    static void reportReloading();
    /// limit   the longest time until this program ends; replaces a shorter one that the manager has
    static void reportStopping(Duration limit);
    /// Must be called every watchdogPeriod(), by what would no longer call it if the program hung.
    static void reportAlive();
    /// Half of what the manager allows; 0 if it does not watch this process.
    static Duration watchdogPeriod();
};

} // namespace zelvo::service
