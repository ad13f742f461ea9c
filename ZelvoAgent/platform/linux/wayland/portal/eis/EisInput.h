#pragma once

#include "platform/linux/wayland/portal/eis/EisHands.h"

#include <memory>
#include <string>
#include <utility>

namespace zelvo {

/// Events by EIS, the compositor's own connection for them. The first event of the pointer must be moveTo();
/// it and the first key also wait until applications know the new device. What is held down is released at
/// the end of this object, after a pause of its device, and by the compositor when the connection ends.
class EisInput final : public InputSink {
public:
    EisInput(Executor agent, std::shared_ptr<EisHands> hands)
        : agent(std::move(agent)), hands(std::move(hands))
    {
    }
    ~EisInput() override;

    bool isReady() const override { return hands->isReady(); }
    Task<bool> moveTo(LogicalPoint point) override;
    Task<bool> button(int button, bool isDown) override;
    Task<bool> scroll(int clicksDown, int clicksRight) override;
    Task<bool> key(int key, bool isDown) override;
    Task<> drained() override;
    Task<bool> type(std::string text) override;

private:
    Task<bool> press(EisDevice::Switch what, bool isDown);

    Executor agent;
    std::shared_ptr<EisHands> hands;
};

} // namespace zelvo
