#include "ZelvoGateway/recordings/RecordingFileName.h"

#include <algorithm>

namespace zelvo::service {

std::optional<std::string> recordingOfFile(std::string_view name, std::string_view ending)
{
    constexpr std::size_t maxName = 128;
    if (name.size() > maxName || !name.ends_with(ending) || !name.starts_with("rec_"))
        return std::nullopt;
    name.remove_suffix(ending.size());
    bool const isId = std::ranges::all_of(name, [](char sign) {
        return (sign >= 'a' && sign <= 'z') || (sign >= 'A' && sign <= 'Z') || (sign >= '0' && sign <= '9') ||
               sign == '_' || sign == '-';
    });
    return isId ? std::optional<std::string>(name) : std::nullopt;
}

} // namespace zelvo::service
