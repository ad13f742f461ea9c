#include "platform/linux/dbus/SessionFacts.h"

namespace zelvo {

namespace {

bool isOnConsole(SessionFacts const& facts, bool displayReachable)
{
    return facts.login ? facts.login->isActive : displayReachable;
}

} // namespace

Availability availabilityOf(SessionFacts const& facts, bool displayReachable)
{
    if (facts.isLocked())
        return Availability::screenLocked;
    return isOnConsole(facts, displayReachable) ? Availability::ready : Availability::noGUISession;
}

std::vector<SessionEvent>
eventsBetween(SessionFacts const& before, SessionFacts const& after, bool displayReachable)
{
    std::vector<SessionEvent> events;
    bool const wasOnConsole = isOnConsole(before, displayReachable);
    bool const isNowOnConsole = isOnConsole(after, displayReachable);
    if (wasOnConsole != isNowOnConsole)
        events.push_back(isNowOnConsole ? SessionEvent::sessionBecameActive
                                        : SessionEvent::sessionResignedActive);
    if (before.isLocked() != after.isLocked())
        events.push_back(after.isLocked() ? SessionEvent::screenLocked : SessionEvent::screenUnlocked);
    return events;
}

int rankOf(LoginCandidate const& candidate, OwnSession const& own)
{
    int const open = candidate.isEnding ? 0 : 2;
    if (!own.isWayland)
        return own.display.empty() || candidate.display != own.display ? -1 : open + candidate.isOurs;
    if (!candidate.isOurs || candidate.type != "wayland")
        return -1;
    bool const isNamed = !own.id.empty() && candidate.id == own.id;
    return open + candidate.isActive + (isNamed ? 4 : 0);
}

std::string displayOf(std::string_view text)
{
    auto const colon = text.rfind(':');
    if (colon == std::string_view::npos)
        return {};
    std::string_view host = text.substr(0, colon);
    if (host == "unix" || host == "localhost")
        host = {};
    std::string_view const number = text.substr(colon + 1, text.find('.', colon) - colon - 1);
    if (number.empty() || number.find_first_not_of("0123456789") != std::string_view::npos)
        return {};
    return std::string(host) + ":" + std::string(number);
}

} // namespace zelvo
