#pragma once

#include "platform/ApplicationNames.h"
#include "platform/linux/applications/DesktopEntryIndex.h"
#include "platform/linux/applications/ProcessFacts.h"
#include "platform/linux/applications/WindowWords.h"

#include <string>

namespace zelvo {

/// Which application a window or a process belongs to, as far as it says so itself.
struct ApplicationIdentity {
    enum class Basis {
        nothing,       ///< it says nothing
        program,       ///< no entry: the executable's name
        words,         ///< no entry: what the window calls itself
        sharedProgram, ///< an entry whose program others run too
        entry,         ///< an entry found by words, or the only one of that program
    };
    Basis basis = Basis::nothing;
    ApplicationNames names;
    DesktopEntry const* entry = nullptr; ///< of the index
    std::string localizedName;           ///< the entry's, else the class, else the executable's name; UTF-8
};

/// Decides the identifier, the names and the entry of an application, in this order: an entry whose id is the
/// own word; one whose StartupWMClass is a part of WM_CLASS; one whose id, or its last component, is a part
/// of WM_CLASS or the own word in any case of letters; one whose program is the executable. Without an entry:
/// the own word, else the class, else the executable's name. The result is UTF-8, ill-formed sequences
/// replaced, and never names this program, which is known by its process id alone. words    of the window;
/// none for a process without windows
ApplicationIdentity
identifyApplication(WindowWords const& words, ProcessFacts const& process, DesktopEntryIndex const& entries);

} // namespace zelvo
