#include "platform/linux/system/FileUrl.h"

#include <string_view>

namespace zelvo {

std::string urlPathOf(std::filesystem::path const& file)
{
    constexpr std::string_view plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string path;
    for (char const c : file.string()) {
        auto const byte = static_cast<unsigned char>(c);
        if (plain.find(c) != std::string_view::npos)
            path += c;
        else
            path.append({'%', digits[byte >> 4], digits[byte & 15]});
    }
    return path;
}

} // namespace zelvo
