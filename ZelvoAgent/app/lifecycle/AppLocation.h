#pragma once

#include "platform/Installation.h"

#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

/// Whether the program runs from a place where it can stay.
class AppLocation {
public:
    enum class Verdict { fine, openInstalledCopy, offerMove };

    explicit AppLocation(ProgramPlaces places) : places(std::move(places)) {}

    /// Whether the program's path is in a folder that comes and goes. The installed copy's path never is, nor
    /// a package's, nor that of a build that is being tried.
    bool isMisplaced(std::string_view programPath) const;
    /// What to do with a program at that path. Versions are compared number by number.
    Verdict verdict(std::string_view programPath,
                    std::string_view ourVersion,
                    std::optional<std::string> const& installedVersion) const;

private:
    ProgramPlaces places;
};

} // namespace zelvo
