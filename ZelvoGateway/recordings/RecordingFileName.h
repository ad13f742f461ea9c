#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zelvo::service {

/// The name of a recording's file, in a folder or a bucket.
inline std::string recordingFileName(std::string const& id)
{
    return id + ".mp4";
}

/// The recording "rec_..." whose name with this ending it is; nullopt for any other name, which is not ours.
std::optional<std::string> recordingOfFile(std::string_view name, std::string_view ending = ".mp4");

} // namespace zelvo::service
