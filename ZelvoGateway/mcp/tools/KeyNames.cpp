#include "ZelvoGateway/mcp/tools/KeyNames.h"

#include "ZelvoGateway/mcp/ToolFailure.h"
#include "ZelvoGateway/mcp/tools/ToolText.h"
#include "base/Text.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zelvo::service {

namespace {

using Row = std::pair<std::string_view, std::string_view>;

/// What other vocabularies call keys, in lower case; a shifted one is the key behind "shift ".
constexpr std::array<Row, 127> rows{{{"return", "return"},
                                     {"enter", "return"},
                                     {"kp_enter", "enter"},
                                     {"linefeed", "return"},
                                     {"tab", "tab"},
                                     {"iso_left_tab", "shift tab"},
                                     {"space", "space"},
                                     {"spacebar", "space"},
                                     {"escape", "escape"},
                                     {"esc", "escape"},
                                     {"backspace", "delete"},
                                     {"delete", "forwarddelete"},
                                     {"del", "forwarddelete"},
                                     {"kp_delete", "forwarddelete"},
                                     {"home", "home"},
                                     {"kp_home", "home"},
                                     {"end", "end"},
                                     {"kp_end", "end"},
                                     {"page_up", "pageup"},
                                     {"pageup", "pageup"},
                                     {"pgup", "pageup"},
                                     {"prior", "pageup"},
                                     {"page_down", "pagedown"},
                                     {"pagedown", "pagedown"},
                                     {"pgdn", "pagedown"},
                                     {"next", "pagedown"},
                                     {"left", "left"},
                                     {"arrowleft", "left"},
                                     {"kp_left", "left"},
                                     {"right", "right"},
                                     {"arrowright", "right"},
                                     {"kp_right", "right"},
                                     {"up", "up"},
                                     {"arrowup", "up"},
                                     {"kp_up", "up"},
                                     {"down", "down"},
                                     {"arrowdown", "down"},
                                     {"kp_down", "down"},
                                     {"ctrl", "ctrl"},
                                     {"control", "ctrl"},
                                     {"control_l", "ctrl"},
                                     {"control_r", "ctrl"},
                                     {"shift", "shift"},
                                     {"shift_l", "shift"},
                                     {"shift_r", "shift"},
                                     {"alt", "alt"},
                                     {"alt_l", "alt"},
                                     {"alt_r", "alt"},
                                     {"option", "alt"},
                                     {"cmd", "cmd"},
                                     {"command", "cmd"},
                                     {"fn", "fn"},
                                     {"minus", "minus"},
                                     {"-", "minus"},
                                     {"kp_subtract", "minus"},
                                     {"equal", "equal"},
                                     {"=", "equal"},
                                     {"plus", "shift equal"},
                                     {"+", "shift equal"},
                                     {"kp_add", "shift equal"},
                                     {"underscore", "shift minus"},
                                     {"_", "shift minus"},
                                     {"bracketleft", "leftbracket"},
                                     {"[", "leftbracket"},
                                     {"bracketright", "rightbracket"},
                                     {"]", "rightbracket"},
                                     {"braceleft", "shift leftbracket"},
                                     {"{", "shift leftbracket"},
                                     {"braceright", "shift rightbracket"},
                                     {"}", "shift rightbracket"},
                                     {"apostrophe", "quote"},
                                     {"quoteright", "quote"},
                                     {"'", "quote"},
                                     {"quotedbl", "shift quote"},
                                     {"\"", "shift quote"},
                                     {"semicolon", "semicolon"},
                                     {";", "semicolon"},
                                     {"colon", "shift semicolon"},
                                     {":", "shift semicolon"},
                                     {"backslash", "backslash"},
                                     {"\\", "backslash"},
                                     {"bar", "shift backslash"},
                                     {"|", "shift backslash"},
                                     {"comma", "comma"},
                                     {",", "comma"},
                                     {"less", "shift comma"},
                                     {"<", "shift comma"},
                                     {"period", "period"},
                                     {".", "period"},
                                     {"kp_decimal", "period"},
                                     {"greater", "shift period"},
                                     {">", "shift period"},
                                     {"slash", "slash"},
                                     {"/", "slash"},
                                     {"kp_divide", "slash"},
                                     {"question", "shift slash"},
                                     {"?", "shift slash"},
                                     {"grave", "grave"},
                                     {"quoteleft", "grave"},
                                     {"`", "grave"},
                                     {"asciitilde", "shift grave"},
                                     {"~", "shift grave"},
                                     {"exclam", "shift 1"},
                                     {"!", "shift 1"},
                                     {"at", "shift 2"},
                                     {"@", "shift 2"},
                                     {"numbersign", "shift 3"},
                                     {"#", "shift 3"},
                                     {"dollar", "shift 4"},
                                     {"$", "shift 4"},
                                     {"percent", "shift 5"},
                                     {"%", "shift 5"},
                                     {"asciicircum", "shift 6"},
                                     {"^", "shift 6"},
                                     {"ampersand", "shift 7"},
                                     {"&", "shift 7"},
                                     {"asterisk", "shift 8"},
                                     {"*", "shift 8"},
                                     {"kp_multiply", "shift 8"},
                                     {"parenleft", "shift 9"},
                                     {"(", "shift 9"},
                                     {"parenright", "shift 0"},
                                     {")", "shift 0"},
                                     {"kp_space", "space"},
                                     {"kp_tab", "tab"},
                                     {"kp_page_up", "pageup"},
                                     {"kp_page_down", "pagedown"}}};

constexpr std::size_t maxKeys = 8;      // of a chord
constexpr std::size_t maxKeyName = 100; // bytes; every known name is shorter

constexpr std::array<std::string_view, 5> modifiers{"cmd", "ctrl", "shift", "alt", "fn"};
constexpr std::array<std::string_view, 9> systemKeys{"super",  "super_l", "super_r", "meta",   "meta_l",
                                                     "meta_r", "win",     "windows", "hyper_l"};

bool isModifier(std::string_view key)
{
    return std::ranges::find(modifiers, key) != modifiers.end();
}

ToolFailure refused(std::string what)
{
    return {.code = ErrorCode::invalidRequest, .what = std::move(what)};
}

void assertFewKeys(std::size_t keys)
{
    if (keys > maxKeys)
        throw refused("A chord has at most " + std::to_string(maxKeys) + " keys");
}

std::string quoted(std::string_view name)
{
    return writeJson(json::value(tooltext::shownName(name)));
}

bool isLetterOrDigit(std::string_view name)
{
    return name.size() == 1 && ((name[0] >= 'a' && name[0] <= 'z') || (name[0] >= '0' && name[0] <= '9'));
}

/// "f1" to "f12", which machines call the same, and "kp_7".
std::optional<std::string> numberedKey(std::string_view name)
{
    if (name.starts_with("kp_") && name.size() == 4 && isLetterOrDigit(name.substr(3)))
        return std::string(name.substr(3));
    for (int number = 1; number <= 12; ++number)
        if (name == "f" + std::to_string(number))
            return std::string(name);
    return std::nullopt;
}

std::string keyNamed(std::string_view given, records::MachineOS os)
{
    std::string name = text::lowercased(text::prefixOfBytes(given, maxKeyName));
    if (isLetterOrDigit(name))
        return name;
    if (auto key = numberedKey(name))
        return *std::move(key);
    if (std::ranges::find(systemKeys, name) != systemKeys.end()) {
        if (os == records::MachineOS::macos)
            return "cmd";
        throw refused("This computer has no way to press the key " + quoted(given));
    }
    auto const* const row = std::ranges::find(rows, name, &Row::first);
    if (row == rows.end())
        throw refused("The key " + quoted(given) + " is unknown");
    return std::string(row->second);
}

void add(std::vector<std::string>& keys, std::string key)
{
    if (std::ranges::find(keys, key) == keys.end())
        keys.push_back(std::move(key));
}

/// The keys of names, with shift where a sign needs it.
std::vector<std::string> keysOf(std::vector<std::string> const& names, records::MachineOS os)
{
    constexpr std::string_view shifted = "shift ";
    assertFewKeys(names.size());
    std::vector<std::string> keys;
    for (std::string const& name : names) {
        std::string key = keyNamed(name, os);
        bool const isCapital = names.size() == 1 && name.size() == 1 && name[0] >= 'A' && name[0] <= 'Z';
        if (isCapital || key.starts_with(shifted))
            add(keys, "shift");
        add(keys, key.starts_with(shifted) ? key.substr(shifted.size()) : key);
    }
    return keys;
}

} // namespace

std::vector<std::string> chordParts(std::string_view chord)
{
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (start < chord.size()) {
        // A plus sign that follows another, or begins, is the key.
        std::size_t const end = std::min(chord.find('+', start + 1), chord.size());
        assertFewKeys(parts.size() + 1);
        parts.emplace_back(chord.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

std::vector<std::string> chordKeys(std::string_view chord, records::MachineOS os)
{
    return chordKeys(chordParts(chord), os);
}

std::vector<std::string> chordKeys(std::vector<std::string> const& names, records::MachineOS os)
{
    auto keys = keysOf(names, os);
    auto const others = std::ranges::count_if(keys, [](std::string const& key) { return !isModifier(key); });
    if (others == 0)
        throw refused("A chord needs a key other than modifiers");
    if (others > 1)
        throw refused("A chord has one key other than modifiers; press several one after the other");
    // The order among modifiers does not matter, and the key itself is the last.
    std::ranges::partition(keys, isModifier);
    return keys;
}

std::vector<std::string> modifierKeys(std::vector<std::string> const& names, records::MachineOS os)
{
    auto keys = keysOf(names, os);
    for (std::string const& key : keys)
        if (!isModifier(key))
            throw refused("Only modifiers can be held during a click, not " + quoted(key));
    return keys;
}

} // namespace zelvo::service
