#include "platform/linux/wayland/shell/ShellPasteboard.h"

#include "desktop/wayland/gnome/GnomeFixture.h"

#include <linux/input-event-codes.h>

namespace zelvo::test {

namespace {

class ShellPasteboardTest : public GnomeFixture {
protected:
    void startPasteboard()
    {
        startGnome();
        pasteboard = std::make_unique<ShellPasteboard>(contexts, *bus, *presence);
        pasteboard->start();
        bus->start();
        presence->start();
        ASSERT_TRUE(waitFor([&] { return presence->isPresent(); }));
    }
    std::string text()
    {
        return run<std::string>([&]() -> Task<std::string> { co_return co_await pasteboard->text(); });
    }
    bool setText(std::string const& text)
    {
        return run<bool>([&]() -> Task<bool> { co_return co_await pasteboard->setText(text); });
    }
    std::vector<ClipboardChange> changesAfter(std::int64_t count)
    {
        return run<std::vector<ClipboardChange>>([&]() -> Task<std::vector<ClipboardChange>> {
            co_return co_await pasteboard->changesAfter(count);
        });
    }

    std::unique_ptr<ShellPasteboard> pasteboard;
};

TEST_F(ShellPasteboardTest, carriesTextsBothWays)
{
    if (auto const missing = missingProgram({{"wl-copy", "wl-clipboard"}}))
        GTEST_SKIP() << *missing;
    startPasteboard();
    // Wayland gives the clipboard only to clients with the keyboard, so there must be one.
    pid_t const keyboard =
        gnome->start({"/usr/bin/python3", ZELVO_KEY_PRESSER, "stay", std::to_string(KEY_LEFTSHIFT)});
    ASSERT_TRUE(waitFor([&] { return gnome->processes().output(keyboard) == "ready\n"; }));
    EXPECT_EQ(text(), "");

    ASSERT_TRUE(setText("Привет, 世界 🎉"));
    EXPECT_EQ(gnome->run({"wl-paste", "--no-newline"}), "Привет, 世界 🎉");
    ASSERT_TRUE(waitFor([&] { return pasteboard->changeCount() == 1; }));
    EXPECT_TRUE(changesAfter(0).at(0).isOurs);

    gnome->start({"wl-copy", "--foreground", "другое"});
    ASSERT_TRUE(waitFor([&] { return pasteboard->changeCount() >= 2; }));
    EXPECT_EQ(text(), "другое");
    EXPECT_FALSE(changesAfter(1).at(0).isOurs);
}

TEST_F(ShellPasteboardTest, carriesLongTextsUpToTheLimit)
{
    startPasteboard();
    std::string const longText(20UL << 20, 'x');

    ASSERT_TRUE(setText(longText));
    EXPECT_TRUE(text() == longText);
    EXPECT_FALSE(setText(std::string(Pasteboard::maxTextLength + 1, 'x')));
    EXPECT_TRUE(setText(""));
    EXPECT_EQ(text(), "");
}

} // namespace

} // namespace zelvo::test
