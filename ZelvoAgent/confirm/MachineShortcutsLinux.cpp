#include "confirm/MachineShortcuts.h"

#include <algorithm>
#include <array>
#include <ranges>

namespace zelvo::MachineShortcuts {

namespace {

constexpr auto fileManagers = std::to_array<std::string_view>({
    "org.gnome.Nautilus",
    "org.gnome.Nautilus.Devel",
    "nautilus",
    "thunar",
    "org.xfce.thunar",
    "org.kde.dolphin",
    "org.kde.krusader",
    "org.kde.konqueror",
    "nemo",
    "org.nemo.Nemo",
    "caja",
    "caja-browser",
    "org.mate.Caja",
    "pcmanfm",
    "pcmanfm-qt",
    "io.elementary.files",
    "com.system76.CosmicFiles",
    "org.lxqt.pcmanfm-qt",
    "spacefm",
    "doublecmd",
    "rox",
    "xfe",
    "dde-file-manager",
    "peony",
});

constexpr auto messengerIds = std::to_array<std::string_view>({
    "slack",
    "com.slack.Slack",
    "telegram-desktop",
    "telegramdesktop",
    "org.telegram.desktop",
    "discord",
    "com.discordapp.Discord",
    "whatsapp-for-linux",
    "com.github.eneshecan.WhatsAppForLinux",
    "whatsdesk",
    "teams",
    "teams-for-linux",
    "com.github.IsmaelMartinez.teams_for_linux",
    "signal-desktop",
    "org.signal.Signal",
    "element-desktop",
    "im.riot.Riot",
    "mattermost-desktop",
    "com.mattermost.Desktop",
    "zulip",
    "org.zulip.Zulip",
    "skypeforlinux",
    "com.skype.Client",
    "viber",
    "com.viber.Viber",
    "pidgin",
    "im.pidgin.Pidgin3",
    "im.dino.Dino",
    "org.gajim.Gajim",
    "org.gnome.Fractal",
    "org.gnome.Polari",
    "org.kde.neochat",
    "org.kde.konversation",
    "nheko",
    "io.github.NhekoReborn.Nheko",
    "hexchat",
    "io.github.Hexchat",
});

constexpr auto mailIds = std::to_array<std::string_view>({
    "thunderbird",
    "org.mozilla.Thunderbird",
    "org.mozilla.thunderbird",
    "net.thunderbird.Thunderbird",
    "org.gnome.Evolution",
    "org.gnome.Geary",
    "org.kde.kmail2",
    "org.kde.kmail",
    "org.kde.trojita",
    "claws-mail",
    "org.claws_mail.Claws-Mail",
    "sylpheed",
    "mailspring",
    "com.getmailspring.Mailspring",
    "eu.betterbird.Betterbird",
    "io.elementary.mail",
});

constexpr auto ownRows = std::to_array<Row>({
    {"forwarddelete", "shortcut.moveToTrash", fileManagers},
    {"shift+forwarddelete", "shortcut.deleteForGood", fileManagers},
});

} // namespace

std::span<Row const> rows()
{
    return ownRows;
}

std::span<std::string_view const> messengers()
{
    return messengerIds;
}

std::span<std::string_view const> mailPrograms()
{
    return mailIds;
}

// "cmd" and "ctrl" are both the Control key; "fn" has no key.
std::vector<std::string> pressed(std::vector<std::string> const& keys)
{
    auto const has = [&](std::string_view name) { return std::ranges::find(keys, name) != keys.end(); };
    std::vector<std::string> chord;
    if (has("cmd") || has("ctrl"))
        chord.emplace_back("cmd");
    for (char const* const modifier : {"alt", "shift"})
        if (has(modifier))
            chord.emplace_back(modifier);
    auto const isKey = [](std::string const& key) {
        constexpr auto modifiers = std::to_array<std::string_view>({"cmd", "ctrl", "alt", "shift", "fn"});
        return std::ranges::find(modifiers, key) == modifiers.end();
    };
    auto const backwards = std::views::reverse(keys);
    auto const last = std::ranges::find_if(backwards, isKey);
    if (last != backwards.end())
        chord.push_back(*last);
    return chord;
}

} // namespace zelvo::MachineShortcuts
