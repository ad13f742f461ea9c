#include "platform/linux/x11/input/BindingPlan.h"

#include <algorithm>
#include <set>

namespace zelvo {

namespace {

/// The distinct characters that need a key, up to the first one that finds no room.
std::vector<char32_t> charactersToBind(std::u32string_view upcoming,
                                       std::function<bool(char32_t)> const& onLayout,
                                       std::size_t room)
{
    std::vector<char32_t> chosen;
    std::set<char32_t> seen;
    for (char32_t const character : upcoming) {
        if (seen.contains(character) || onLayout(character))
            continue;
        if (chosen.size() == room)
            break;
        seen.insert(character);
        chosen.push_back(character);
    }
    return chosen;
}

/// Deals characters out to one group of keys: the plain level of all keys first, so that Shift is rarely
/// pressed.
void deal(std::vector<KeyBinding>& bindings,
          std::vector<std::uint8_t> const& keys,
          std::vector<char32_t> const& characters,
          std::size_t& next)
{
    std::size_t const first = bindings.size();
    for (std::uint8_t const keycode : keys) {
        if (next == characters.size())
            return;
        bindings.push_back({keycode, characters[next++], 0});
    }
    for (std::size_t at = first; at < bindings.size() && next < characters.size(); ++at)
        bindings[at].shifted = characters[next++];
}

} // namespace

std::vector<KeyBinding> planBindings(std::u32string_view upcoming,
                                     std::function<bool(char32_t)> const& onLayout,
                                     SpareKeys const& spare,
                                     UsableLevels levels)
{
    std::size_t const keys = spare.empty.size() + spare.rarelyUsed.size();
    std::size_t const room = levels == UsableLevels::two ? 2 * keys : keys;
    std::vector<char32_t> const characters = charactersToBind(upcoming, onLayout, room);
    std::vector<KeyBinding> bindings;
    std::size_t next = 0;
    if (levels == UsableLevels::one) {
        std::vector<std::uint8_t> all = spare.empty;
        all.insert(all.end(), spare.rarelyUsed.begin(), spare.rarelyUsed.end());
        for (; next < characters.size(); ++next)
            bindings.push_back({all[next], characters[next], characters[next]});
        return bindings;
    }
    deal(bindings, spare.empty, characters, next);
    deal(bindings, spare.rarelyUsed, characters, next);
    return bindings;
}

} // namespace zelvo
