#pragma once

#include "platform/RunningApplication.h"
#include "platform/linux/applications/DesktopEntryIndex.h"

#include <string>

namespace zelvo {

/// The entry with this id, which ".desktop" may follow. Null without one.
DesktopEntry const* entryWithId(DesktopEntryIndex const& entries, std::string const& id);

/// The entry of this name, which ".app" or ".desktop" may follow: of the first application folder that has
/// one, there by Name in the desktop's language, by Name without a language, by id, by the id's last
/// component; of equally good ones that which comes first in the index. Null without one.
DesktopEntry const* entryNamed(DesktopEntryIndex const& entries, std::string const& name);

/// The entry in this file. Null without one.
DesktopEntry const* entryAt(DesktopEntryIndex const& entries, std::string const& file);

/// The names that the entry's application may go by once it runs, as far as they can be told before: its id
/// first.
ApplicationNames namesOfEntry(DesktopEntry const& entry, DesktopEntryIndex const& entries);

} // namespace zelvo
