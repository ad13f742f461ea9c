#include "platform/linux/wayland/portal/eis/EisInput.h"

#include "base/Hop.h"

#include <boost/asio/dispatch.hpp>

namespace zelvo {

EisInput::~EisInput()
{
    asio::dispatch(agent, [hands = std::move(hands)] { hands->close(); });
}

Task<bool> EisInput::moveTo(LogicalPoint point)
{
    auto const body = [hands = hands, point] { return hands->moveTo(point); };
    co_return co_await runOn(agent, body);
}

Task<bool> EisInput::press(EisDevice::Switch what, bool isDown)
{
    auto const body = [hands = hands, what, isDown] { return hands->press(what, isDown); };
    co_return co_await runOn(agent, body);
}

Task<bool> EisInput::button(int button, bool isDown)
{
    return press({.isKey = false, .code = static_cast<std::uint32_t>(button)}, isDown);
}

Task<bool> EisInput::key(int key, bool isDown)
{
    return press({.isKey = true, .code = static_cast<std::uint32_t>(key)}, isDown);
}

Task<bool> EisInput::scroll(int clicksDown, int clicksRight)
{
    auto const body = [hands = hands, clicksDown, clicksRight] {
        return hands->scroll(clicksDown, clicksRight);
    };
    co_return co_await runOn(agent, body);
}

Task<> EisInput::drained()
{
    auto const body = [hands = hands] { return hands->drained(); };
    co_await runOn(agent, body);
}

Task<bool> EisInput::type(std::string /*text*/)
{
    co_return false;
}

} // namespace zelvo
