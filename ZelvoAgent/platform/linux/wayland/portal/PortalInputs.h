#pragma once

#include "base/LockedBox.h"
#include "platform/linux/wayland/InputSink.h"
#include "platform/linux/wayland/portal/PortalInput.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// Input of a granted session by the better of two ways: by EIS where the session has it, else by methods of
/// the portal. It chooses with the first event of each session. Both ways start anew with each session, and
/// release what they hold at its end. Thread: as InputSink.
class PortalInputs final : public InputSink {
public:
    using Opening = std::function<Task<std::shared_ptr<InputSink>>()>;
    struct Granted {
        std::shared_ptr<void const> session; ///< by which one grant differs from the next
        Opening openEis = {}; ///< null from it if the session has no EIS; empty if that is known beforehand
    };
    struct Doors {
        std::function<std::optional<Granted>()> granted; ///< thread: any; never blocks
        /// Makes the other way, with nothing held.
        std::function<std::shared_ptr<InputSink>()> makeCalls;
    };
    explicit PortalInputs(Doors doors) : doors(std::move(doors)) {}

    bool isReady() const override;
    Task<bool> moveTo(LogicalPoint point) override;
    Task<bool> button(int button, bool isDown) override;
    Task<bool> scroll(int clicksDown, int clicksRight) override;
    Task<bool> key(int key, bool isDown) override;
    Task<> drained() override;
    Task<bool> type(std::string text) override;

private:
    struct Choice {
        std::weak_ptr<void const> session; ///< weak, because a session ends with its last reference
        std::shared_ptr<InputSink> sink;
    };
    Task<std::shared_ptr<InputSink>> choose();

    Doors const doors;
    LockedBox<Choice> chosen;
};

/// The input of PortalDoors. Where libei is not built in, all of it is by methods of the portal.
/// bus, clock  outlive it
std::shared_ptr<InputSink> makePortalInput(
    Executor agent, Executor workers, Clock& clock, BusConnection& bus, PortalInput::Doors const& doors);

} // namespace zelvo
