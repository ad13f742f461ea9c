#include "app/permissions/PermissionsWatch.h"

#include "base/Hop.h"
#include "base/LocalizedTexts.h"
#include "base/Task.h"

#include <utility>

namespace zelvo {

namespace {

constexpr auto lookPeriod = 1s;

} // namespace

PermissionsWatch::PermissionsWatch(SystemAccess& access,
                                   Contexts contexts,
                                   Clock& clock,
                                   std::function<void()> onChange)
    : access(access), contexts(std::move(contexts)), onChange(std::move(onChange)), seen(access.current()),
      following(access.observe([this] { look(); })), nextLook(this->contexts.main, clock)
{
    look();
}

void PermissionsWatch::look()
{
    Permissions const now = access.current();
    if (std::exchange(seen, now) != now)
        onChange();
    spawn(contexts.main, [this, weak = std::weak_ptr(alive)] { return findCauses(weak); });
}

Task<> PermissionsWatch::findCauses(std::weak_ptr<int> owner)
{
    if (owner.expired())
        co_return;
    SystemAccess& asked = access;
    PermissionCauses next = co_await on(contexts.workers, [&asked] { return asked.causes(); });
    if (owner.expired())
        co_return;
    bool const isChange = next != found;
    found = std::move(next);
    if (!startedTooEarly().empty())
        nextLook.in(lookPeriod, [this] { look(); });
    if (isChange)
        onChange();
}

std::vector<std::string> PermissionsWatch::startedTooEarly() const
{
    std::vector<std::string> names;
    for (PermissionCause const& cause : found.accessibility)
        if (cause.kind == PermissionCause::Kind::startedTooEarly)
            names.insert(names.end(), cause.names.begin(), cause.names.end());
    return names;
}

std::string joinedNames(std::vector<std::string> const& names)
{
    std::string all;
    for (std::string const& name : names)
        all += (all.empty() ? "" : localized("list.separator")) + name;
    return all;
}

} // namespace zelvo
