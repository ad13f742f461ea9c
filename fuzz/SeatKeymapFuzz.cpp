#include "Check.h"
#include "platform/linux/wayland/input/SeatKeyboard.h"

#include <array>
#include <cstdint>
#include <span>
#include <sstream>
#include <string>
#include <string_view>

namespace {

constexpr unsigned firstKeycode = 8;
constexpr unsigned keycodes = 248;
constexpr unsigned maxLevels = 8;

/// Writes a keymap in which keys, groups, types, levels and modifiers are made of the bytes of a fuzzer. The
/// text is always well formed: libxkbcommon 1.5 crashes on some texts that are not, in every program of such
/// a desktop.
class KeymapWriter {
public:
    explicit KeymapWriter(std::span<std::uint8_t const> bytes) : bytes(bytes) {}

    std::string written()
    {
        writeTypes();
        for (unsigned left = next() % keycodes; left > 0; --left)
            writeKey();
        return "xkb_keymap {\nxkb_keycodes { minimum = 8; maximum = 255;\n" + codes.str() +
               "};\nxkb_types { virtual_modifiers LevelThree, NumLock;\n" + types.str() +
               "};\nxkb_compatibility { interpret Any+AnyOf(all) "
               "{ action = SetMods(modifiers=modMapMods,clearLocks); }; };\nxkb_symbols {\n" +
               symbols.str() + "};\n};\n";
    }

    unsigned next()
    {
        if (bytes.empty())
            return 0;
        unsigned const first = bytes.front();
        bytes = bytes.subspan(1);
        return first;
    }

private:
    static constexpr std::array<std::string_view, 8> realModifiers = {"Shift", "Lock", "Control", "Mod1",
                                                                      "Mod2",  "Mod3", "Mod4",    "Mod5"};

    static std::string modifiersOf(unsigned mask)
    {
        std::string names;
        for (unsigned bit = 0; bit < realModifiers.size(); ++bit)
            if ((mask >> bit & 1U) != 0)
                names.append(names.empty() ? "" : "+").append(realModifiers[bit]);
        return names.empty() ? "none" : names;
    }

    void writeTypes()
    {
        typeCount = 1 + next() % 4;
        for (unsigned type = 0; type < typeCount; ++type) {
            unsigned const mask = next();
            types << "type \"T" << type << "\" { modifiers = " << modifiersOf(mask) << ";\n";
            for (unsigned left = next() % maxLevels; left > 0; --left) {
                std::string const held = modifiersOf(next() & mask);
                types << "map[" << held << "] = " << 1 + next() % maxLevels << ";\n";
                if (next() % 4 == 0)
                    types << "preserve[" << held << "] = " << held << ";\n";
            }
            types << "};\n";
        }
    }

    void writeKey()
    {
        std::string const key = "<K" + std::to_string(codesWritten++) + ">";
        codes << key << " = " << firstKeycode + next() % keycodes << ";\n";
        symbols << "key " << key << " { ";
        unsigned const groups = 1 + next() % 4;
        for (unsigned group = 1; group <= groups; ++group) {
            symbols << (group == 1 ? "" : ", ");
            writeGroup(group);
        }
        symbols << " };\n";
        if (unsigned const modifier = next(); modifier < realModifiers.size())
            symbols << "modifier_map " << realModifiers[modifier] << " { " << key << " };\n";
    }

    void writeGroup(unsigned group)
    {
        symbols << "type[Group" << group << "] = \"T" << next() % typeCount << "\", symbols[Group" << group
                << "] = [ ";
        unsigned const levels = 1 + next() % maxLevels;
        for (unsigned level = 0; level < levels; ++level) {
            symbols << (level == 0 ? "" : ", ");
            if (next() % 16 == 1)
                symbols << "{ " << keysym() << ", " << keysym() << " }";
            else
                symbols << keysym();
        }
        symbols << " ]";
    }

    /// Of Latin 1, of a key with a name, of any Unicode character, or any number.
    std::string keysym()
    {
        std::ostringstream text;
        text << "0x" << std::hex << keysymValue();
        return text.str();
    }

    unsigned keysymValue()
    {
        unsigned const kind = next() % 4;
        unsigned const low = next();
        if (kind < 2)
            return kind * 0xFF00 + low;
        unsigned const wide = low | next() << 8;
        return kind == 2 ? 0x1000000 + wide + (next() % 0x11 << 16) : wide | next() << 16;
    }

    std::span<std::uint8_t const> bytes;
    std::ostringstream codes;
    std::ostringstream types;
    std::ostringstream symbols;
    unsigned typeCount = 1;
    unsigned codesWritten = 0;
};

} // namespace

/// The keymap that a compositor gives, as text.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace zelvo;
    KeymapWriter writer({data, size});
    unsigned const group = writer.next() % 5;
    bool const hasCapsLock = writer.next() % 2 == 1;
    SeatKeymap given{.text = writer.written(), .group = group, .hasCapsLock = hasCapsLock};
    SeatKeyboard keyboard([&given] { return given; });
    bool const isKnown = keyboard.refresh();
    check(isKnown == keyboard.isKnown() && isKnown != keyboard.isUnreadable());
    if (!isKnown)
        return 0;
    for (char32_t const character : {U'a', U'V', U'\n', U'漢'})
        if (auto const* const stroke = keyboard.strokeFor(character))
            check(stroke->keycode >= firstKeycode);
    for (unsigned keycode = firstKeycode; keycode < 256; keycode += 8)
        keyboard.readings(static_cast<std::uint8_t>(keycode), {.shift = true, .ctrl = true});
    return 0;
}
