#pragma once

#include <filesystem>
#include <optional>
#include <vector>

/// The person's folders by the XDG rules. A variable that is not an absolute path counts as unset.
/// Thread: any, while nobody changes the environment.
namespace zelvo::xdg {

std::filesystem::path home();
/// $XDG_CONFIG_HOME, else ~/.config.
std::filesystem::path configHome();
/// $XDG_DATA_HOME, else ~/.local/share.
std::filesystem::path dataHome();
/// $ZELVO_SESSION_DATA_HOME, else dataHome(): where the desktop of this session looks for what the person
/// installs. They differ if this program has separate folders in the person's own session, as in a trial.
std::filesystem::path sessionDataHome();
/// $XDG_RUNTIME_DIR; `nullopt` if unset.
std::optional<std::filesystem::path> runtimeFolder();

/// Where this program keeps its settings, and its secrets where there is no key ring.
std::filesystem::path settingsFolder();
std::filesystem::path defaultsFolder();
std::filesystem::path keychainFolder();
/// Downloads of new versions, and what is remembered of them.
std::filesystem::path updatesFolder();
/// The folders that hold what is only for this program and for a gateway of the same person: settings with
/// their queues, the key chain, the gateway's usual data folder. Also those of a Zelvo that has the person's
/// usual folders, while this program has separate ones.
std::vector<std::filesystem::path> privateFolders();

} // namespace zelvo::xdg
