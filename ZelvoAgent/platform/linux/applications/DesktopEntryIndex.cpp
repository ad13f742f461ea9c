#include "platform/linux/applications/DesktopEntryIndex.h"

#include "base/Text.h"

#include <algorithm>
#include <tuple>

namespace zelvo {

std::string lastComponentOf(std::string const& id)
{
    return id.substr(id.rfind('.') + 1); // No dot is the greatest number, and one more is 0.
}

DesktopEntryIndex::DesktopEntryIndex(std::vector<DesktopEntry> unsorted) : entries(std::move(unsorted))
{
    std::ranges::sort(entries, [](DesktopEntry const& left, DesktopEntry const& right) {
        return std::tuple(left.noDisplay, left.id.size(), left.id) <
               std::tuple(right.noDisplay, right.id.size(), right.id);
    });
    for (std::size_t i = 0; i < entries.size(); ++i) {
        DesktopEntry const& entry = entries[i];
        std::string const id = text::lowercased(entry.id);
        std::string const component = lastComponentOf(id);
        byId.emplace(entry.id, i);
        byName.emplace(id, i);
        if (component != id)
            byName.emplace(component, i);
        if (!entry.startupWmClass.empty())
            byWmClass.emplace(entry.startupWmClass, i);
        if (!entry.executable.empty())
            byExecutable.emplace(entry.executable, i);
    }
}

DesktopEntry const* DesktopEntryIndex::find(std::string_view id) const
{
    auto const found = byId.find(id);
    return found == byId.end() ? nullptr : &entries[found->second];
}

std::vector<std::string> DesktopEntryIndex::idsAt(Places const& places, std::string_view key) const
{
    std::vector<std::string> ids;
    if (key.empty())
        return ids;
    auto const [first, last] = places.equal_range(key);
    for (auto place = first; place != last; ++place)
        ids.push_back(entries[place->second].id);
    return ids;
}

std::vector<std::string> DesktopEntryIndex::withWmClass(std::string_view part) const
{
    return idsAt(byWmClass, part);
}

std::vector<std::string> DesktopEntryIndex::named(std::string_view part) const
{
    return idsAt(byName, text::lowercased(part));
}

std::vector<std::string> DesktopEntryIndex::running(std::filesystem::path const& executable) const
{
    return idsAt(byExecutable, executable.native());
}

} // namespace zelvo
