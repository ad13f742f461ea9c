#include "platform/linux/applications/OpenWindows.h"

#include "platform/linux/applications/ApplicationIdentity.h"
#include "platform/linux/applications/ApplicationSearch.h"

#include <unistd.h>

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

namespace zelvo {

namespace {

/// An application among others while they are collected.
struct Collected {
    RunningApplication application;
    std::size_t age = 0;
};

bool belongs(OpenWindow const& window, std::string const& location, StartMarks const* started)
{
    if (window.application.location == location)
        return true;
    if (!started)
        return false;
    return (!window.startupId.empty() && window.startupId == started->startupId) ||
           (started->session && window.pid && ::getsid(*window.pid) == *started->session);
}

} // namespace

std::vector<RunningApplication> applicationsOf(std::vector<OpenWindow> const& windows)
{
    std::map<std::pair<std::int32_t, std::string>, Collected> found;
    for (OpenWindow const& window : windows) {
        auto const identifier = window.application.names.identifier();
        if (!identifier)
            continue;
        auto const [known, isNew] = found.try_emplace({window.application.pid, *identifier});
        auto& [whole, oldest] = known->second;
        if (isNew) {
            whole = window.application;
            oldest = window.age;
        } else {
            whole.names.join(window.application.names);
            oldest = std::min(oldest, window.age);
        }
        whole.isRegular = whole.isRegular || window.isRegular;
        whole.isActive = whole.isActive || window.isInFront;
    }
    std::multimap<std::size_t, RunningApplication> ordered; // Equal ones by process id.
    for (auto& [key, one] : found)
        ordered.emplace(one.age, std::move(one.application));
    std::vector<RunningApplication> applications;
    for (auto& [age, application] : ordered)
        applications.push_back(std::move(application));
    return applications;
}

std::optional<RunningApplication> applicationOf(std::vector<OpenWindow> const& windows, std::int32_t pid)
{
    std::optional<RunningApplication> application;
    ApplicationNames all;
    std::size_t highest = 0;
    for (OpenWindow const& window : windows) {
        if (window.pid != pid)
            continue;
        all.hideWith(window.application.names);
        if (!application || window.height > highest) {
            application = window.application;
            highest = window.height;
        }
    }
    if (application)
        application->names.hideWith(all);
    return application;
}

RunningApplication
processApplication(std::vector<OpenWindow> const& windows, std::int32_t pid, DesktopEntryIndex const& entries)
{
    if (auto known = applicationOf(windows, pid))
        return *std::move(known);
    ProcessFacts const process = readProcessFacts(pid);
    return {
        .pid = pid, .names = identifyApplication({}, process, entries).names, .launchDate = process.started};
}

std::optional<ApplicationBundle> bundleAt(std::string const& location,
                                          std::vector<OpenWindow> const& windows,
                                          DesktopEntryIndex const& entries)
{
    std::optional<ApplicationBundle> bundle;
    if (DesktopEntry const* const entry = entryAt(entries, location))
        bundle = {
            .identifier = entry->id, .localizedName = entry->name, .names = namesOfEntry(*entry, entries)};
    for (RunningApplication const& application : applicationsOf(windows)) {
        if (application.location != location)
            continue;
        if (bundle)
            bundle->names.add(application.names);
        else
            bundle = {.identifier = application.names.identifier().value_or(""),
                      .localizedName = application.localizedName,
                      .names = application.names};
    }
    return bundle;
}

ApplicationWindow
windowToOpen(std::vector<OpenWindow> const& windows, std::string const& location, StartMarks const* started)
{
    ApplicationWindow best;
    std::tuple<bool, std::size_t> bestPlace;
    for (OpenWindow const& window : windows) {
        if (!belongs(window, location, started))
            continue;
        best.inFront = best.inFront || (window.isInFront && !window.isShaded);
        std::tuple const place(!window.isMinimized, window.height);
        if (window.isRegular && (!best.id || place > bestPlace)) {
            best.id = window.id;
            bestPlace = place;
        }
    }
    return best;
}

} // namespace zelvo
