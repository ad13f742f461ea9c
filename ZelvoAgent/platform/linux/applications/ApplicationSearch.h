#pragma once

#include "platform/RunningApplication.h"
#include "platform/linux/applications/DesktopEntryIndex.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// The entry with this id, which ".desktop" may follow. Null without one.
DesktopEntry const* entryWithId(DesktopEntryIndex const& entries, std::string const& id);

/// The entry of this name, which ".app" or ".desktop" may follow: of the first application folder that has
/// one, there by Name in the desktop's language, by Name without a language, by id, by the id's last
/// component; of equally good ones that which comes first in the index. Null without one.
DesktopEntry const* entryNamed(DesktopEntryIndex const& entries, std::string const& name);

/// Where the application is that is asked for by an identifier, which ".desktop" may follow: an installed one
/// of exactly that id; one of that identifier in another case of letters, a running one before an installed
/// one; a running one that has the name; an installed one whose StartupWMClass or program is called that.
/// nullopt without one.
std::optional<std::string> locationOf(std::string const& asked,
                                      DesktopEntryIndex const& entries,
                                      std::vector<RunningApplication> const& running);

/// The same where of equally good running ones that in front is meant.
std::optional<std::string> locationAskedFor(std::string const& asked,
                                            DesktopEntryIndex const& entries,
                                            std::vector<RunningApplication> running);

/// Where an application without an entry is: nothing but its identifier tells it from others of the same
/// program.
std::string locationOfRunning(std::string const& identifier);

/// The entry in this file. Null without one.
DesktopEntry const* entryAt(DesktopEntryIndex const& entries, std::string const& file);

/// The names that the entry's application may go by once it runs, as far as they can be told before: its id
/// first.
ApplicationNames namesOfEntry(DesktopEntry const& entry, DesktopEntryIndex const& entries);

} // namespace zelvo
