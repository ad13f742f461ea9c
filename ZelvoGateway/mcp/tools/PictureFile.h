#pragma once

#include "ZelvoGateway/mcp/tools/ScreenSpace.h"

#include <optional>
#include <string>
#include <string_view>

namespace zelvo::service {

/// What the beginning of a picture's file says.
struct PictureFile {
    std::string mimeType;
    std::optional<DisplaySize> pixels; ///< `nullopt` if it is cut off or malformed
};

/// For PNG, JPEG, GIF and WebP; `nullopt` for other files.
std::optional<PictureFile> pictureFile(std::string_view bytes);

} // namespace zelvo::service
