#include "confirm/DangerousShortcuts.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"
#include "confirm/MachineShortcuts.h"
#include "drivers/Chord.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>
#include <utility>

namespace zelvo::DangerousShortcuts {

namespace {

constexpr auto modifiers = std::to_array<std::string_view>({"cmd", "ctrl", "alt", "shift"});

constexpr auto synonyms = std::to_array<std::pair<std::string_view, std::string_view>>({
    {"enter", "return"},
    {"esc", "escape"},
    {"backspace", "delete"},
    {"del", "delete"},
    {"option", "alt"},
    {"opt", "alt"},
    {"command", "cmd"},
    {"control", "ctrl"},
    {"meta", "cmd"},
    {"space", "space"},
    {"spacebar", "space"},
});

constexpr auto mailPrograms = std::to_array<std::string_view>({"com.apple.mail"});

constexpr auto messengers = std::to_array<std::string_view>({
    "com.apple.MobileSMS",
    "com.tinyspeck.slackmacgap",
    "ru.keepcoder.Telegram",
    "com.telegram.desktop",
    "com.hnc.Discord",
    "net.whatsapp.WhatsApp",
    "com.microsoft.teams2",
    "com.apple.iChat",
});

using Apps = std::span<std::string_view const>;

struct Entry {
    std::string_view combination;
    std::string_view meaningKey;
    Apps apps;                       ///< bundle identifiers
    Apps (*machineApps)() = nullptr; ///< this system's additional ones
    bool isBound() const { return machineApps || !apps.empty(); }
};

constexpr auto entries = std::to_array<Entry>({
    {"cmd+shift+d", "shortcut.sendMail", mailPrograms, MachineShortcuts::mailPrograms},
    {"cmd+return", "shortcut.send", {}},
    {"return", "shortcut.sendMessage", messengers, MachineShortcuts::messengers},
    {"cmd+delete", "shortcut.moveToTrash", {}},
    {"cmd+shift+delete", "shortcut.emptyTrash", {}},
    {"cmd+s", "shortcut.save", {}},
});

std::vector<std::string> canonical(std::vector<std::string> const& keys)
{
    std::vector<std::string> names;
    for (std::string const& key : keys) {
        std::string name = text::lowercased(text::trimmed(key));
        auto const* const synonym = std::ranges::find(synonyms, name, &decltype(synonyms)::value_type::first);
        if (synonym != synonyms.end())
            name = synonym->second;
        if (!name.empty())
            names.push_back(std::move(name));
    }
    return names;
}

std::string joined(std::vector<std::string> const& names)
{
    std::string combination;
    auto const add = [&](std::string_view name) {
        if (!combination.empty())
            combination += '+';
        combination += name;
    };
    for (std::string_view const modifier : modifiers)
        if (std::ranges::find(names, modifier) != names.end())
            add(modifier);
    for (std::string const& name : names)
        if (std::ranges::find(modifiers, name) == modifiers.end())
            add(name);
    return combination;
}

bool isOneOf(std::optional<std::string> const& app, Apps apps)
{
    return app && std::ranges::any_of(
                      apps, [&](std::string_view each) { return text::equalIgnoringCase(each, *app); });
}

std::optional<std::string> lookUp(std::string_view combination, std::optional<std::string> const& app)
{
    for (Entry const& entry : entries)
        if (entry.combination == combination && (!entry.isBound() || isOneOf(app, entry.apps) ||
                                                 (entry.machineApps && isOneOf(app, entry.machineApps()))))
            return localized(entry.meaningKey);
    for (MachineShortcuts::Row const& row : MachineShortcuts::rows())
        if (row.combination == combination && isOneOf(app, row.apps))
            return localized(row.meaningKey);
    return std::nullopt;
}

/// What a combination really presses, in two readings: by its canonical spelling, and as the input driver
/// parses it, because the driver knows fewer names.
std::array<std::string, 2> normalizedAsPressed(std::vector<std::string> const& keys)
{
    Chord const chord = Chord::of(keys);
    std::vector<std::string> driven;
    for (auto const& [isHeld, name] :
         {std::pair(chord.flags.cmd, "cmd"), std::pair(chord.flags.ctrl, "ctrl"),
          std::pair(chord.flags.alt, "alt"), std::pair(chord.flags.shift, "shift")})
        if (isHeld && chord.key)
            driven.emplace_back(name);
    if (chord.key)
        driven.push_back(*chord.key);
    return {joined(MachineShortcuts::pressed(canonical(keys))),
            joined(MachineShortcuts::pressed(canonical(driven)))};
}

bool isActivating(std::string_view combination)
{
    return combination == "return" || combination == "space";
}

} // namespace

std::string normalize(std::vector<std::string> const& keys)
{
    return joined(canonical(keys));
}

std::optional<std::string> meaning(std::vector<std::string> const& keys,
                                   std::optional<std::string> const& app)
{
    if (auto asSent = lookUp(normalize(keys), app))
        return asSent;
    for (std::string const& pressed : normalizedAsPressed(keys))
        if (auto found = lookUp(pressed, app))
            return found;
    return std::nullopt;
}

std::optional<Match>
match(std::vector<std::string> const& keys, std::optional<std::string> const& app, Chords const& given)
{
    auto const asSent = meaning(keys, app);
    for (auto const& chord : given) {
        std::string combination = normalize(chord);
        auto found = lookUp(combination, app);
        if (found && found != asSent)
            return Match{std::move(combination), *std::move(found)};
        if (found)
            break;
    }
    return asSent ? std::optional<Match>({normalize(keys), *asSent}) : std::nullopt;
}

bool activatesFocusedControl(std::vector<std::string> const& keys, Chords const& given)
{
    return isActivating(normalize(keys)) || std::ranges::any_of(normalizedAsPressed(keys), isActivating) ||
           std::ranges::any_of(given, isActivating, normalize);
}

std::optional<std::string> activatingKey(std::vector<std::string> const& keys, Chords const& given)
{
    Chords readings = given;
    readings.push_back(MachineShortcuts::pressed(canonical(keys)));
    if (auto const key = Chord::of(keys).key)
        readings.push_back(canonical({*key}));
    for (auto const& chord : readings)
        if (!chord.empty() && isActivating(chord.back()))
            return chord.back();
    return std::nullopt;
}

} // namespace zelvo::DangerousShortcuts
