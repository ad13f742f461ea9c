#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// An application as a desktop entry tells of it.
struct DesktopEntry {
    std::string id;             ///< without ".desktop"; UTF-8
    std::string name;           ///< in the desktop's language
    std::string startupWmClass; ///< empty without one
    std::filesystem::path
        executable; ///< of Exec, links resolved; empty when it is not found or stands for many programs
    std::filesystem::path file;
    bool noDisplay = false;
    std::string plainName = {}; ///< Name without a language; empty without one
    std::size_t folder = 0;     ///< the place of its application folder in the XDG data path
    bool operator==(DesktopEntry const&) const = default;
};

/// What comes after an id's last dot; the whole id when it has none.
std::string lastComponentOf(std::string const& id);

/// Desktop entries by all that an application is recognised by. Entries that are equally good come in a fixed
/// order: those that menus show first, then the shorter id. Thread: any; it never changes.
class DesktopEntryIndex {
public:
    explicit DesktopEntryIndex(std::vector<DesktopEntry> unsorted = {});

    DesktopEntry const* find(std::string_view id) const;
    /// The ids of entries whose StartupWMClass is this.
    std::vector<std::string> withWmClass(std::string_view part) const;
    /// The ids that are this, or whose last component is, without regard to case.
    std::vector<std::string> named(std::string_view part) const;
    /// The ids of entries that run this program.
    std::vector<std::string> running(std::filesystem::path const& executable) const;
    std::vector<DesktopEntry> const& all() const { return entries; }

private:
    using Places = std::multimap<std::string, std::size_t, std::less<>>;
    std::vector<std::string> idsAt(Places const& places, std::string_view key) const;

    std::vector<DesktopEntry> entries;
    Places byId;
    Places byWmClass;
    Places byName;
    Places byExecutable;
};

} // namespace zelvo
