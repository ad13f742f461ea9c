#pragma once

#include "base/Task.h"
#include "platform/UserDefaults.h"

#include <array>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace zelvo {

/// The applications that the person has hidden from agents. The stored list is the only copy: every operation
/// reads it again, so a change applies from the next check on. Thread: any; a dedicated strand serializes
/// changes.
class HiddenAppsStore {
public:
    HiddenAppsStore(Executor agent, UserDefaults& defaults);

    Task<std::set<std::string>> bundleIds();
    Task<std::size_t> count();
    /// False if there is no identifier.
    Task<bool> isHidden(std::optional<std::string> bundleId);
    /// Resumes when the new list is on disk.
    Task<> add(std::string bundleId);
    Task<> remove(std::string bundleId);

    /// Suggestions for the person; none is hidden by default.
    static constexpr auto suggestions = std::to_array<std::string_view>({
        "com.apple.Passwords",
        "com.apple.keychainaccess",
        "com.agilebits.onepassword7",
        "com.1password.1password",
        "com.bitwarden.desktop",
        "com.apple.MobileSMS",
        // The same kinds of application by desktop entry: password managers, then messengers.
        "org.gnome.seahorse.Application",
        "org.gnome.World.Secrets",
        "org.kde.kwalletmanager5",
        "org.keepassxc.KeePassXC",
        "1password",
        "bitwarden",
        "org.kde.kdeconnect.sms",
        "sm.puri.Chatty",
    });

private:
    std::set<std::string> readOnStrand();
    void persistOnStrand(std::set<std::string> const& bundleIds);

    Executor strand;
    UserDefaults& defaults;
};

} // namespace zelvo
