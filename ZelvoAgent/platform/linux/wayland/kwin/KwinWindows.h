#pragma once

#include "base/Clock.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/wayland/WindowSource.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace zelvo {

class KwinScript;

/// The windows of KDE's compositor, by a script of ours inside it. It needs no right. Of programs on
/// Xwayland, KWin 5 does not list menus and tooltips. Thread: any but the agent's, which makes the exchange.
class KwinWindows final : public WindowSource {
public:
    /// The bus and the clock must outlive it. Its end removes the script from KWin; the agent's thread must
    /// have ended then, or run on until the bus has ended.
    /// session  the session bus
    /// folder   $XDG_RUNTIME_DIR
    KwinWindows(Executor agent, BusConnection& session, Clock& clock, std::filesystem::path folder);
    ~KwinWindows() override;
    KwinWindows(KwinWindows const&) = delete;
    KwinWindows& operator=(KwinWindows const&) = delete;

    /// Loads the script as soon as KWin runs. After observe().
    void start();

    std::optional<WindowsNow> look() override;
    void observe(std::function<void()> observer) override;
    bool activate(std::string const& id) override;
    bool putInFront(std::string const& id) override;

private:
    struct Exchange;
    std::shared_ptr<Exchange> exchange(std::string verb, std::string window);
    void askDesktop(std::shared_ptr<Exchange> const& going);

    Executor agent;
    BusConnection& session;
    std::shared_ptr<KwinScript> script;
    std::mutex turn;
};

} // namespace zelvo
