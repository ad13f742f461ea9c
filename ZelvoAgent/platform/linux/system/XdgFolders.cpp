#include "platform/linux/system/XdgFolders.h"

#include <pwd.h>
#include <unistd.h>

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
    return {settingsFolder(), dataHome() / identifier, dataHome() / "zelvo-agent",
            dataHome() / "zelvo-gateway"};
}

} // namespace zelvo::xdg
