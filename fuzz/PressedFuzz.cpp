#include "Check.h"
#include "base/Text.h"
#include "confirm/DangerousShortcuts.h"
#include "confirm/SubmitButtonHeuristic.h"
#include "drivers/Chord.h"

#include <algorithm>
#include <cstdint>

namespace {

using Keys = std::vector<std::string>;

Keys split(std::string const& text)
{
    Keys keys{""};
    for (char const c : text)
        if (c == '+')
            keys.emplace_back();
        else
            keys.back() += c;
    return keys;
}

} // namespace

/// The input as the text on a button, and as a chord of keys with "+" between them.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace zelvo;
    std::string const text = text::repaired({reinterpret_cast<char const*>(data), size});
    std::string const words = SubmitButtonHeuristic::normalize(text);
    check(words == text::trimmed(words));
    check(!SubmitButtonHeuristic::matches(text) || !words.empty());
    ProbedElement button;
    button.role = "AXButton";
    button.title = text;
    check(SubmitButtonHeuristic::classify(button).has_value() == SubmitButtonHeuristic::matches(text));

    Keys const keys = split(text);
    Keys other = keys;
    std::ranges::replace(other, "cmd", "ctrl");
    for (char const* const app : {"org.gnome.Nautilus", "discord", "org.example"}) {
        check(DangerousShortcuts::meaning(keys, app) == DangerousShortcuts::meaning(other, app));
        // A chord needs confirmation whenever the keys that it really presses would need it.
        Chord const chord = Chord::of(keys);
        Keys pressed;
        if (chord.flags.cmd || chord.flags.ctrl)
            pressed.emplace_back("cmd");
        if (chord.flags.alt)
            pressed.emplace_back("alt");
        if (chord.flags.shift)
            pressed.emplace_back("shift");
        pressed.push_back(chord.key.value_or(""));
        check(!chord.key || !DangerousShortcuts::meaning(pressed, app) ||
              DangerousShortcuts::meaning(keys, app));
        check(!chord.key || !DangerousShortcuts::activatesFocusedControl(pressed) ||
              DangerousShortcuts::activatesFocusedControl(keys));
    }
    check(!DangerousShortcuts::activatesFocusedControl(keys) || !DangerousShortcuts::normalize(keys).empty());
    return 0;
}
