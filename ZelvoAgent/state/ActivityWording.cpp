#include "state/ActivityWording.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"
#include "state/ActionCounts.h"

#include <array>
#include <utility>

namespace zelvo::ActivityWording {

namespace {

using Part = ActionCounts::Part;

constexpr std::size_t keysShown = 3;
constexpr std::size_t maxKeyNameLength = 40; // Characters.

std::string readyAgain(Availability from)
{
    switch (from) {
    case Availability::asleep:
        return localized("activity.mac.woke");
    case Availability::noGUISession:
        return localized("activity.mac.sessionBack");
    case Availability::screenLocked:
        return localized("activity.mac.unlocked");
    case Availability::ready:
        return localized("activity.mac.ready");
    }
    return {};
}

std::string verb(Part part)
{
    switch (part) {
    case Part::click:
        return localized("activity.verb.click");
    case Part::type:
        return localized("activity.verb.type");
    case Part::keys:
        return localized("activity.verb.keys");
    case Part::scroll:
        return localized("activity.verb.scroll");
    case Part::drag:
        return localized("activity.verb.drag");
    }
    return {};
}

std::vector<std::string> verbs(ActionCounts const& counts)
{
    std::vector<std::string> words;
    words.reserve(counts.parts.size());
    for (Part const part : counts.parts)
        words.push_back(verb(part));
    if (words.empty())
        words.push_back(localized(counts.moves > 0 ? "activity.verb.move" : "activity.verb.wait"));
    return words;
}

std::string joined(std::vector<std::string> const& items, std::size_t count, std::string_view separator)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i)
        text += (i == 0 ? std::string() : std::string(separator)) + items[i];
    return text;
}

/// The agent chooses the key name, so it may have any length and any characters.
std::string shownKey(std::string const& name)
{
    return text::prefix(text::withoutControlCharacters(name), maxKeyNameLength);
}

std::string keysLine(std::vector<std::string> const& names)
{
    std::vector<std::string> first;
    for (std::size_t i = 0; i < std::min(names.size(), keysShown); ++i)
        first.push_back(shownKey(names[i]));
    std::string const shown = joined(first, first.size(), ", ");
    return localized("activity.detail.keys", {shown + (names.size() > keysShown ? "…" : "")});
}

std::string line(Part part, ActionCounts const& counts)
{
    switch (part) {
    case Part::click:
        return localized("activity.detail.clicks", {counts.clicks});
    case Part::type:
        return localized("activity.detail.characters", {counts.characters});
    case Part::scroll:
        return localized("activity.detail.scrolls", {counts.scrolls});
    case Part::drag:
        return localized("activity.detail.drags", {counts.drags});
    case Part::keys:
        return keysLine(counts.keyNames);
    }
    return {};
}

std::string symbol(std::string const& word)
{
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 8> symbols = {
        {{"cmd", "⌘"},
         {"command", "⌘"},
         {"shift", "⇧"},
         {"alt", "⌥"},
         {"option", "⌥"},
         {"ctrl", "⌃"},
         {"control", "⌃"},
         {"fn", "fn"}}};
    std::string const lower = text::lowercased(word);
    for (auto const& [name, sign] : symbols)
        if (name == lower)
            return std::string(sign);
    return word;
}

} // namespace

Actions actions(std::vector<InputAction> const& list, std::optional<std::string> const& appName)
{
    ActionCounts const counts = ActionCounts::of(list);
    Actions words;
    words.summary = text::capitalized(sentence(verbs(counts)));
    if (appName)
        words.summary = localized("activity.actionsIn", {words.summary, *appName});
    std::vector<std::string> lines;
    lines.reserve(counts.parts.size());
    for (Part const part : counts.parts)
        lines.push_back(line(part, counts));
    words.detail = joined(lines, lines.size(), localized("list.separator"));
    if (counts.characters > 0)
        words.detail = localized("activity.detail.withPrivacy", {words.detail});
    words.note = localized("activity.actions", {static_cast<std::int64_t>(list.size())});
    return words;
}

std::string sentence(std::vector<std::string> const& items)
{
    if (items.size() < 2)
        return items.empty() ? std::string() : items.front();
    return localized("activity.and", {joined(items, items.size() - 1, ", "), items.back()});
}

std::string keyName(std::vector<std::string> const& keys)
{
    std::string name;
    for (std::size_t i = 0; i < keys.size(); ++i)
        name += i + 1 < keys.size() ? symbol(keys[i]) : text::capitalized(keys[i]);
    return name;
}

std::string terminalNote(std::int64_t exitCode, std::int64_t durationMs, bool timedOut)
{
    std::string const end =
        timedOut ? localized("activity.terminal.timedOut") : localized("activity.terminal.exit", {exitCode});
    return end + localized("list.separator") + duration(durationMs);
}

std::string duration(std::int64_t ms)
{
    constexpr std::int64_t second = 1000;
    constexpr std::int64_t minute = 60;
    if (ms < second)
        return localized("activity.duration.ms", {ms});
    std::int64_t const seconds = ms / second + (ms % second >= second / 2 ? 1 : 0);
    if (seconds < minute)
        return localized("activity.duration.s", {seconds});
    std::int64_t const minutes = seconds / minute;
    if (seconds % minute != 0)
        return localized("activity.duration.minS", {minutes, seconds % minute});
    return localized("activity.duration.min", {minutes});
}

std::string availability(Availability from, Availability to)
{
    switch (to) {
    case Availability::asleep:
        return localized("activity.mac.asleep");
    case Availability::noGUISession:
        return localized("activity.mac.noSession");
    case Availability::screenLocked:
        return localized("activity.mac.locked");
    case Availability::ready:
        return readyAgain(from);
    }
    return {};
}

} // namespace zelvo::ActivityWording
