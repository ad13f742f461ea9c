#pragma once

#include "platform/linux/dbus/BusConnection.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace zelvo {

/// Knows whether a panel shows status notifier items: the watcher is on the session bus and a host has
/// registered with it. Starts no service. Thread: agent, the destructor too.
class NotifierHost : public std::enable_shared_from_this<NotifierHost> {
public:
    /// session   must outlive this
    /// onChange  called with each new answer; at first there is no host
    NotifierHost(BusConnection& session, std::function<void(bool)> onChange);

    void start();

private:
    void takeWatcher(bool isThere);
    void ask();
    void set(bool next);

    BusConnection& session;
    std::function<void(bool)> onChange;
    bool hasWatcher = false;
    bool hasHost = false;
    std::uint64_t questions = 0; // Only the last one's answer counts.
};

} // namespace zelvo
