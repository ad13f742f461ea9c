#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/Accessibility.h"
#include "platform/linux/atspi/AtspiApplication.h"
#include "platform/linux/atspi/AtspiPlaces.h"
#include "platform/linux/atspi/StatusSwitch.h"
#include "platform/linux/atspi/UnreadableProcesses.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo {

class AtspiReader;

/// The accessibility bus of the desktop.
class AtspiAccessibility final : public Accessibility {
public:
    /// session  the session bus, for switchOn; must outlive this
    /// screen   windows and displays, to place elements; what its functions use must outlive this
    /// address  of the accessibility bus if it is known (AT_SPI_BUS_ADDRESS); else the session bus supplies
    ///          it
    /// onUnreadable  called on any thread when another process has turned out to be unreadable
    AtspiAccessibility(Contexts contexts,
                       Clock& clock,
                       BusConnection& session,
                       std::optional<std::string> address,
                       AtspiScreen screen = {},
                       std::function<void()> onUnreadable = {});

    std::unique_ptr<AccessibilityReader> reader(std::int32_t pid, Duration messagingTimeout) override;
    bool isRelative() override { return screen.isKnown && !screen.isKnown(); }
    /// The same as reader(), with the concrete type.
    std::unique_ptr<AtspiReader> atspiReader(std::int32_t pid, Duration messagingTimeout);
    void observeUnreadable(std::function<void(std::int32_t pid)> next) override
    {
        observer = std::move(next);
    }
    Task<> switchOn() override;
    Task<> switchOff() override;
    /// The process whose accessible window is active; `nullopt` if none is known, or several say so. Blocks
    /// for some milliseconds. Thread: any.
    std::optional<std::int32_t> activeProcess();
    /// The address of the accessibility bus; empty if there is none. Blocks while it is asked for. Thread:
    /// any.
    std::string busAddress();
    /// The running processes that cannot be read until they restart. Thread: any.
    std::vector<std::int32_t> unreadableProcesses() const { return unreadable.running(); }

private:
    std::unique_ptr<AtspiLink> connect();
    void noteUnreadable(std::int32_t pid);

    Contexts contexts;
    Clock& clock;
    std::optional<std::string> fixedAddress;
    AtspiScreen screen;
    StatusSwitch status;
    UnreadableProcesses unreadable;
    AtspiKnowledgeBox knowledge;
    std::function<void(std::int32_t pid)> observer;
    std::function<void()> onUnreadable;
};

} // namespace zelvo
