#include "platform/linux/applications/ApplicationOpener.h"

#include "base/Hop.h"
#include "platform/linux/applications/ApplicationSearch.h"
#include "platform/linux/applications/EntryStart.h"
#include "platform/linux/applications/StartupId.h"
#include "platform/linux/dbus/BusConnection.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace zelvo {

namespace {

constexpr Duration lookEvery = 50ms;
constexpr Duration askAgainAfter = 400ms; // A window manager may be busy with the window's first showing.
constexpr Duration insistFor = 2s;        // What is not in front by then is kept from it.

bool hasNoService(BusFailure const& failure)
{
    return failure.name == "org.freedesktop.DBus.Error.ServiceUnknown" ||
           failure.name == "org.freedesktop.DBus.Error.Disconnected";
}

/// "org.example.Some-App" is at "/org/example/Some_App".
std::string objectPathOf(std::string const& id)
{
    std::string path = "/" + id;
    std::ranges::replace(path, '.', '/');
    std::ranges::replace(path, '-', '_');
    return path;
}

void appendPlatformData(sd_bus_message* message, std::string const& startupId)
{
    sd_bus_message_append(message, "a{sv}", 2, "desktop-startup-id", "s", startupId.c_str(),
                          "activation-token", "s", startupId.c_str());
}

} // namespace

ApplicationOpener::ApplicationOpener(Contexts contexts,
                                     Clock& clock,
                                     DesktopEntries& entries,
                                     ApplicationWindows& windows,
                                     BusConnection& user)
    : contexts(std::move(contexts)), clock(clock), entries(entries), windows(windows), user(user)
{
}

ApplicationOpener::Target ApplicationOpener::lookFor(std::string const& location)
{
    Target target{.found = windows.look(location)};
    auto const index = entries.current();
    if (DesktopEntry const* const entry = entryAt(*index, location))
        target.entryId = entry->id;
    return target;
}

Task<std::string>
ApplicationOpener::open(std::string location, Workspace::NotRunning notRunning, Instant deadline)
{
    Target const target = co_await on(contexts.workers, [&] { return lookFor(location); });
    auto const& [bundle, hasWindow] = target.found;
    bool const isLeft = !hasWindow && notRunning == Workspace::NotRunning::isLeft;
    if (!bundle || (!hasWindow && !target.entryId && !isLeft))
        throw std::runtime_error("there is no application any more where it was found");
    if (isLeft)
        co_return bundle->localizedName;
    StartMarks started;
    if (!hasWindow)
        started = co_await start(location, *target.entryId, deadline);
    co_await bringToFront(location, std::move(started), deadline);
    co_return bundle->localizedName;
}

Task<StartMarks> ApplicationOpener::start(std::string entryFile, std::string id, Instant deadline)
{
    StartMarks marks{.startupId = newStartupId()};
    bool const byBus = co_await on(contexts.workers, [&] { return isStartedByBus(entryFile); });
    if (byBus && co_await startByBus(std::move(id), marks.startupId, deadline))
        co_return marks;
    marks.session = co_await on(contexts.workers, [&] { return startEntry(entryFile, marks.startupId); });
    co_return marks;
}

/// False when the bus knows no such application, whose command may be known all the same.
Task<bool> ApplicationOpener::startByBus(std::string id, std::string startupId, Instant deadline)
{
    if (!sd_bus_service_name_is_valid(id.c_str()))
        co_return false;
    BusCall call{
        .destination = id,
        .path = objectPathOf(id),
        .interface = "org.freedesktop.Application",
        .member = "Activate",
        .arguments = [startupId](sd_bus_message* message) { appendPlatformData(message, startupId); },
        .patience = std::max<Duration>(deadline - clock.now(), lookEvery)};
    try {
        co_await user.call(std::move(call));
    } catch (BusFailure const& failure) {
        // One that is slow to answer has been started.
        if (failure.name == "org.freedesktop.DBus.Error.NoReply")
            co_return true;
        if (hasNoService(failure))
            co_return false;
        throw;
    }
    co_return true;
}

Task<> ApplicationOpener::bringToFront(std::string location, StartMarks started, Instant deadline)
{
    Instant end = deadline;
    Instant askAgain{};
    std::uint32_t asked = 0;
    for (;;) {
        auto const found = co_await on(contexts.workers, [&] {
            StartMarks const* const marks = started.startupId.empty() ? nullptr : &started;
            return windows.windowOf(location, marks);
        });
        Instant const now = clock.now();
        if (found.inFront || now >= end)
            co_return;
        if (found.id && (found.id != asked || now >= askAgain)) {
            if (!asked)
                end = std::min(end, now + insistFor);
            asked = found.id;
            askAgain = now + askAgainAfter;
            co_await on(contexts.workers, [&] { windows.bringBack(found.id); });
        }
        co_await clock.sleep(lookEvery);
    }
}

} // namespace zelvo
