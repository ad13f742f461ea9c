#include "platform/linux/wayland/shell/ShellLayout.h"

#include "desktop/wayland/gnome/GnomeFixture.h"
#include "platform/linux/wayland/client/SeatKeymaps.h"
#include "platform/linux/wayland/input/SeatKeyboard.h"

#include <fstream>
#include <iterator>

namespace zelvo::test {

namespace {

constexpr int kernelToX = 8; // An X server's numbers of keys are that much larger.

class ShellLayoutTest : public GnomeFixture {
protected:
    void press(std::vector<std::string> words)
    {
        words.insert(words.begin(), {"/usr/bin/python3", ZELVO_KEY_PRESSER});
        gnome->start(words);
    }
    /// The keys of a text, one after the other.
    static std::vector<std::string> keysOf(SeatKeyboard const& keyboard, std::u32string const& text)
    {
        std::vector<std::string> words = {"type"};
        for (char32_t const character : text)
            if (KeyStroke const* const stroke = keyboard.strokeFor(character))
                words.push_back(std::to_string(stroke->keycode - kernelToX));
        return words;
    }
};

std::string textOf(std::filesystem::path const& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator(file), {}};
}

TEST_F(ShellLayoutTest, typesInTheLayoutThatThePersonSwitchedTo)
{
    startGnome({.layouts = {"us", "ru"}});
    press({"stay", "42"}); // A keyboard that stays, by the Shift key.
    SeatKeymaps const keymaps(contexts, WaylandClient::open());
    SeatKeyboard keyboard([&] { return SeatKeymap{keymaps.current(), activeShellLayout(*link)}; });
    ASSERT_TRUE(waitFor([&] { return keyboard.refresh() && keyboard.strokeFor(U'q'); }));
    EXPECT_TRUE(keyboard.isCertain());
    EXPECT_EQ(activeShellLayout(*link), 0U);
    EXPECT_EQ(keyboard.strokeFor(U'п'), nullptr);

    press({"125", "57"}); // Super and space

    ASSERT_TRUE(waitFor([&] { return activeShellLayout(*link) == 1U; }));
    ASSERT_TRUE(waitFor([&] { return keyboard.refresh() && keyboard.strokeFor(U'п'); }));
    EXPECT_TRUE(keyboard.isCertain());
    auto const path = gnome->home() / "field";
    gnome->start({"/usr/bin/python3", ZELVO_FIELD, path});
    ASSERT_TRUE(waitFor([&] { return std::filesystem::exists(path); }));
    press(keysOf(keyboard, U"привет"));
    EXPECT_TRUE(waitFor([&] { return textOf(path) == "привет"; })) << textOf(path);
}

TEST_F(ShellLayoutTest, isUnknownWithoutTheExtension)
{
    startGnome();
    EXPECT_TRUE(activeShellLayout(*link));

    gnome->run({"gnome-extensions", "disable", ShellExtensionInstall::uuid});

    EXPECT_TRUE(waitFor([&] { return !activeShellLayout(*link); }));
}

} // namespace

} // namespace zelvo::test
