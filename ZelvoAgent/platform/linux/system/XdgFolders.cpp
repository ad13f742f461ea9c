#include "platform/linux/system/XdgFolders.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace zelvo::xdg {

namespace {

namespace fs = std::filesystem;

constexpr char const* identifier = "dev.zelvo.agent";

std::optional<fs::path> absoluteIn(char const* variable)
{
    char const* const value = std::getenv(variable);
    if (!value || *value != '/')
        return std::nullopt;
    return fs::path(value);
}

fs::path homeOfUser()
{
    struct passwd entry{};
    struct passwd* found = nullptr;
    char text[4096];
    if (::getpwuid_r(::getuid(), &entry, text, sizeof text, &found) == 0 && found && found->pw_dir)
        return found->pw_dir;
    return "/";
}

} // namespace

fs::path home()
{
    auto const named = absoluteIn("HOME");
    return named ? *named : homeOfUser();
}

fs::path configHome()
{
    return absoluteIn("XDG_CONFIG_HOME").value_or(home() / ".config");
}

fs::path dataHome()
{
    return absoluteIn("XDG_DATA_HOME").value_or(home() / ".local" / "share");
}

fs::path sessionDataHome()
{
    return absoluteIn("ZELVO_SESSION_DATA_HOME").value_or(dataHome());
}

std::optional<fs::path> runtimeFolder()
{
    return absoluteIn("XDG_RUNTIME_DIR");
}

fs::path settingsFolder()
{
    return configHome() / identifier;
}

fs::path defaultsFolder()
{
    return settingsFolder() / "defaults";
}

fs::path keychainFolder()
{
    return dataHome() / identifier / "keychain";
}

fs::path updatesFolder()
{
    return dataHome() / identifier / "updates";
}

std::vector<fs::path> privateFolders()
{
    std::vector<fs::path> folders = {settingsFolder(), home() / ".config" / identifier};
    for (fs::path const& data : {dataHome(), sessionDataHome(), home() / ".local" / "share"})
        for (char const* const name : {identifier, "zelvo-agent", "zelvo-gateway"})
            folders.push_back(data / name);
    std::ranges::sort(folders);
    auto const repeated = std::ranges::unique(folders); // Usually most of them are the same.
    folders.erase(repeated.begin(), repeated.end());
    return folders;
}

} // namespace zelvo::xdg
