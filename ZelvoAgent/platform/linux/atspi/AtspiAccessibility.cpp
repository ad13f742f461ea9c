#include "platform/linux/atspi/AtspiAccessibility.h"

#include "platform/linux/atspi/AtspiActiveProcess.h"
#include "platform/linux/atspi/AtspiBusAddress.h"
#include "platform/linux/atspi/AtspiReader.h"

#include <boost/asio/post.hpp>

namespace zelvo {

namespace {

constexpr Duration addressPatience = 2s;
constexpr Duration activePatience = 250ms;

} // namespace

AtspiAccessibility::AtspiAccessibility(Contexts contexts,
                                       Clock& clock,
                                       BusConnection& session,
                                       std::optional<std::string> address,
                                       AtspiScreen screen,
                                       std::function<void()> onUnreadable)
    : contexts(std::move(contexts)), clock(clock), fixedAddress(std::move(address)),
      screen(std::move(screen)), status(session), onUnreadable(std::move(onUnreadable))
{
}

std::unique_ptr<AccessibilityReader> AtspiAccessibility::reader(std::int32_t pid, Duration messagingTimeout)
{
    return atspiReader(pid, messagingTimeout);
}

std::unique_ptr<AtspiReader> AtspiAccessibility::atspiReader(std::int32_t pid, Duration messagingTimeout)
{
    auto made = std::make_unique<AtspiReader>(clock, connect(), knowledge, screen, pid, messagingTimeout);
    if (!made->isOnBus()) {
        // The bus may have restarted at another address.
        knowledge.set({});
        made = std::make_unique<AtspiReader>(clock, connect(), knowledge, screen, pid, messagingTimeout);
    }
    if (made->isOnBus() == false)
        noteUnreadable(pid);
    return made;
}

std::optional<std::int32_t> AtspiAccessibility::activeProcess()
{
    auto link = connect();
    return link ? AtspiActiveProcess(std::move(link), activePatience).find() : std::nullopt;
}

std::unique_ptr<AtspiLink> AtspiAccessibility::connect()
{
    std::string const address = busAddress();
    return address.empty() ? nullptr : AtspiLink::toBus(address);
}

std::string AtspiAccessibility::busAddress()
{
    std::string address = fixedAddress ? *fixedAddress : knowledge.get().address;
    if (address.empty()) {
        address = askForAccessibilityBus(addressPatience).value_or("");
        knowledge.change([&](AtspiKnowledge& all) { all = {.address = address}; });
    }
    return address;
}

void AtspiAccessibility::noteUnreadable(std::int32_t pid)
{
    if (!observer || !unreadable.isNew(pid))
        return;
    asio::post(contexts.main, [report = observer, pid] { report(pid); });
    if (onUnreadable)
        onUnreadable();
}

Task<> AtspiAccessibility::switchOn()
{
    co_await status.on();
    unreadable.noteSwitchedOn();
}

Task<> AtspiAccessibility::switchOff()
{
    co_await status.off();
}

} // namespace zelvo
