#include "state/ActivityWording.h"

#include "base/LocalizedTexts.h"

namespace zelvo::ActivityWording {

namespace {

std::string readyAgain(Availability from)
{
    switch (from) {
    case Availability::asleep:
        return localized("activity.mac.woke");
    case Availability::noGUISession:
        return localized("activity.mac.sessionBack");
    case Availability::screenLocked:
        return localized("activity.mac.unlocked");
    case Availability::ready:
        return localized("activity.mac.ready");
    }
    return {};
}

} // namespace

std::string availability(Availability from, Availability to)
{
    switch (to) {
    case Availability::asleep:
        return localized("activity.mac.asleep");
    case Availability::noGUISession:
        return localized("activity.mac.noSession");
    case Availability::screenLocked:
        return localized("activity.mac.locked");
    case Availability::ready:
        return readyAgain(from);
    }
    return {};
}

} // namespace zelvo::ActivityWording
