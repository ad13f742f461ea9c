#include "app/lifecycle/AppLocation.h"

#include "base/Versions.h"

#include <algorithm>

namespace zelvo {

bool AppLocation::isMisplaced(std::string_view programPath) const
{
    auto const isBelow = [&](std::string const& folder) { return programPath.starts_with(folder); };
    std::string_view const folder = programPath.substr(0, programPath.rfind('/') + 1);
    auto const endsFolder = [&](std::string const& end) { return folder.ends_with(end); };
    return programPath != places.applicationsPath && std::ranges::any_of(places.temporary, isBelow) &&
           std::ranges::none_of(places.permanent, isBelow) &&
           std::ranges::none_of(places.development, endsFolder);
}

AppLocation::Verdict AppLocation::verdict(std::string_view programPath,
                                          std::string_view ourVersion,
                                          std::optional<std::string> const& installedVersion) const
{
    if (!isMisplaced(programPath))
        return Verdict::fine;
    bool const hasOlder = !installedVersion || isVersionBelow(*installedVersion, ourVersion);
    return hasOlder ? Verdict::offerMove : Verdict::openInstalledCopy;
}

} // namespace zelvo
