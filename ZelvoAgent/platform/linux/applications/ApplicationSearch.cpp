#include "platform/linux/applications/ApplicationSearch.h"

#include "base/Text.h"
#include "platform/linux/applications/ApplicationIdentity.h"

#include <algorithm>
#include <string_view>
#include <tuple>
#include <vector>

namespace zelvo {

namespace {

/// The text, and what it is without one of these ends.
std::vector<std::string_view> spellings(std::string_view text, std::vector<std::string_view> const& ends)
{
    std::vector<std::string_view> found{text};
    for (std::string_view const end : ends)
        if (text.size() > end.size() && text.ends_with(end))
            found.push_back(text.substr(0, text.size() - end.size()));
    return found;
}

/// How well an entry fits a name, the least being the best.
enum class Fit { name, plainName, id, lastComponent, none };

Fit fitOf(DesktopEntry const& entry, std::vector<std::string_view> const& wanted)
{
    auto const isWanted = [&](std::string_view text) {
        return !text.empty() && std::ranges::find(wanted, text) != wanted.end();
    };
    if (isWanted(entry.name))
        return Fit::name;
    if (isWanted(entry.plainName))
        return Fit::plainName;
    if (isWanted(entry.id))
        return Fit::id;
    return isWanted(lastComponentOf(entry.id)) ? Fit::lastComponent : Fit::none;
}

} // namespace

DesktopEntry const* entryWithId(DesktopEntryIndex const& entries, std::string const& id)
{
    for (std::string_view const spelling : spellings(id, {".desktop"}))
        if (DesktopEntry const* const entry = entries.find(spelling))
            return entry;
    return nullptr;
}

DesktopEntry const* entryNamed(DesktopEntryIndex const& entries, std::string const& name)
{
    auto const wanted = spellings(name, {".app", ".desktop"});
    DesktopEntry const* best = nullptr;
    std::tuple<std::size_t, Fit> bestPlace;
    for (DesktopEntry const& entry : entries.all()) {
        std::tuple const place(entry.folder, fitOf(entry, wanted));
        if (std::get<Fit>(place) != Fit::none && (!best || place < bestPlace)) {
            best = &entry;
            bestPlace = place;
        }
    }
    return best;
}

std::optional<std::string> locationOf(std::string const& asked,
                                      DesktopEntryIndex const& entries,
                                      std::vector<RunningApplication> const& running)
{
    if (DesktopEntry const* const entry = entryWithId(entries, asked))
        return entry->file;
    std::string const name(spellings(asked, {".desktop"}).back());
    if (name.empty())
        return std::nullopt;
    auto const isName = [&](std::string const& other) { return text::equalIgnoringCase(other, name); };
    auto const ofRunning = [&](auto fits) -> std::optional<std::string> {
        auto const found = std::ranges::find_if(
            running, [&](RunningApplication const& each) { return each.location && fits(each.names); });
        return found == running.end() ? std::nullopt : found->location;
    };
    auto const ofInstalled = [&](auto fits) -> std::optional<std::string> {
        auto const found = std::ranges::find_if(entries.all(), fits);
        return found == entries.all().end() ? std::nullopt : std::optional(found->file.string());
    };
    if (auto known =
            ofRunning([&](ApplicationNames const& names) { return isName(names.identifier().value_or("")); }))
        return known;
    if (auto known = ofInstalled([&](DesktopEntry const& entry) { return isName(entry.id); }))
        return known;
    if (auto known = ofRunning([&](ApplicationNames const& names) { return names.answersTo(name); }))
        return known;
    return ofInstalled([&](DesktopEntry const& entry) {
        return isName(entry.startupWmClass) || isName(entry.executable.filename());
    });
}

std::optional<std::string> locationAskedFor(std::string const& asked,
                                            DesktopEntryIndex const& entries,
                                            std::vector<RunningApplication> running)
{
    auto const active = std::ranges::find_if(running, &RunningApplication::isActive);
    if (active != running.end())
        std::rotate(running.begin(), active, active + 1);
    return locationOf(asked, entries, running);
}

std::string locationOfRunning(std::string const& identifier)
{
    return "running:" + identifier;
}

DesktopEntry const* entryAt(DesktopEntryIndex const& entries, std::string const& file)
{
    auto const found =
        std::ranges::find_if(entries.all(), [&](DesktopEntry const& entry) { return entry.file == file; });
    return found == entries.all().end() ? nullptr : &*found;
}

ApplicationNames namesOfEntry(DesktopEntry const& entry, DesktopEntryIndex const& entries)
{
    ApplicationNames names{{entry.id}};
    names.add({{lastComponentOf(entry.id)}});
    names.add(
        identifyApplication({.className = entry.startupWmClass}, {.executable = entry.executable}, entries)
            .names);
    return names;
}

} // namespace zelvo
