#pragma once

#include "base/Clock.h"
#include "platform/linux/wayland/InputSink.h"
#include "platform/linux/wayland/portal/PortalBarrier.h"
#include "platform/linux/wayland/portal/PortalSession.h"
#include "platform/linux/wayland/portal/StreamPlaces.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// Events by the methods Notify of the portal RemoteDesktop. The first event of the pointer must be moveTo():
/// it also waits until applications know the pointer. What is held down is released at the end of this
/// object, and by the compositor at the end of the session.
class PortalInput final : public InputSink {
public:
    struct Doors {
        /// The session of now; null if nothing is granted. Thread: any.
        std::function<std::shared_ptr<PortalSession>()> session;
        std::function<MonitorLayout()> layout; ///< thread: any; never blocks
        /// Where the pointer is; may block. Empty if nobody knows: places that need it are then refused.
        std::function<std::optional<LogicalPoint>()> pointer = {};
    };
    /// A new session's keyboard and pointer are new devices, which applications hear of first: their first
    /// events are lost without this pause.
    static constexpr Duration warmUp = 100ms;

    /// agent, workers  where releases run, and where `doors.pointer` does
    /// bus             must outlive this
    PortalInput(Executor agent, Executor workers, Clock& clock, BusConnection& bus, Doors doors);
    ~PortalInput() override;

    bool isReady() const override;
    Task<bool> moveTo(LogicalPoint point) override;
    Task<bool> button(int button, bool isDown) override;
    Task<bool> scroll(int clicksDown, int clicksRight) override;
    Task<bool> key(int key, bool isDown) override;
    Task<> drained() override;
    Task<bool> type(std::string text) override;

private:
    struct Held {
        char const* member;
        int code;
        bool operator==(Held const&) const = default;
    };

    Task<bool> prepare();
    Task<bool> post(char const* member, PortalRequest::Append arguments);
    Task<bool> press(char const* member, int code, bool isDown);
    Task<bool> enterStream(StreamPlace place);
    Task<bool> moveInStream(StreamPoint place);
    Task<bool> correct(LogicalPoint target);
    Task<std::optional<LogicalPoint>> look();

    Executor agent;
    Executor workers;
    Clock& clock;
    Doors doors;
    PortalBarrier barrier;
    std::shared_ptr<PortalSession> current; ///< what the fields below belong to
    std::vector<Held> held;                 ///< in the order in which they were pressed
    bool isKeyboardWarm = false;
    bool isPointerWarm = false;
    std::uint32_t lastNode = 0; ///< the stream in which we left the pointer
};

} // namespace zelvo
