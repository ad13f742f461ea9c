#include "drivers/FilePath.h"

#include <algorithm>

namespace zelvo::paths {

std::vector<std::string> parts(std::string_view path)
{
    std::vector<std::string> found;
    while (!path.empty()) {
        std::size_t const slash = std::min(path.find('/'), path.size());
        std::string_view const part = path.substr(0, slash);
        if (!part.empty() && part != ".")
            found.emplace_back(part);
        path.remove_prefix(std::min(slash + 1, path.size()));
    }
    return found;
}

std::string standardized(std::string_view path, std::string_view base)
{
    std::vector<std::string> kept;
    auto const take = [&kept](std::string_view text) {
        for (std::string& part : parts(text)) {
            if (part != "..")
                kept.push_back(std::move(part));
            else if (!kept.empty())
                kept.pop_back();
        }
    };
    if (!path.starts_with('/'))
        take(base);
    take(path);
    std::string result;
    for (std::string const& part : kept)
        result.append("/").append(part);
    return result.empty() ? "/" : result;
}

std::optional<TildePath> tildePath(std::string_view path)
{
    if (!path.starts_with('~'))
        return std::nullopt;
    path.remove_prefix(1);
    std::size_t const slash = std::min(path.find('/'), path.size());
    return TildePath{.user = std::string(path.substr(0, slash)), .rest = std::string(path.substr(slash))};
}

bool isInside(std::string_view place, std::string_view folder)
{
    // Without the slash, "Documents2" would be inside "Documents".
    return place == folder ||
           (place.size() > folder.size() && place.starts_with(folder) && place[folder.size()] == '/');
}

std::string below(std::string_view place, std::string_view folder)
{
    place.remove_prefix(folder.size());
    if (place.starts_with('/'))
        place.remove_prefix(1);
    return std::string(place);
}

std::string parentOf(std::string_view path)
{
    std::size_t const slash = path.rfind('/');
    return slash == std::string_view::npos || slash == 0 ? "/" : std::string(path.substr(0, slash));
}

std::string nameOf(std::string_view path)
{
    return std::string(path.substr(path.rfind('/') + 1));
}

std::string joined(std::string_view folder, std::string_view name)
{
    std::string result(folder);
    if (!result.ends_with('/'))
        result += '/';
    return result.append(name);
}

} // namespace zelvo::paths
