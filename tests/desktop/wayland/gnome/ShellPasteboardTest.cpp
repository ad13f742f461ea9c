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
    /// Wayland gives the clipboard only to clients with the keyboard, so there must be one.
    void startKeyboard()
    {
        pid_t const keyboard =
            gnome->start({"/usr/bin/python3", ZELVO_KEY_PRESSER, "stay", std::to_string(KEY_LEFTSHIFT)});
        ASSERT_TRUE(waitFor([&] { return gnome->processes().output(keyboard) == "ready\n"; }));
    }
    std::optional<ClipboardForms> keep()
    {
        return run<std::optional<ClipboardForms>>(
            [&]() -> Task<std::optional<ClipboardForms>> { co_return co_await pasteboard->keep(); });
    }
    bool lend(std::string const& text)
    {
        return run<bool>([&]() -> Task<bool> { co_return co_await pasteboard->lend(text); });
    }
    bool putBack(ClipboardForms const& forms)
    {
        return run<bool>([&]() -> Task<bool> { co_return co_await pasteboard->putBack(forms); });
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
    startKeyboard();
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

TEST_F(ShellPasteboardTest, keepsAContentOfOneFormAndPutsItBack)
{
    if (auto const missing = missingProgram({{"wl-copy", "wl-clipboard"}}))
        GTEST_SKIP() << *missing;
    startPasteboard();
    startKeyboard();
    EXPECT_EQ(keep(), ClipboardForms());
    gnome->start({"sh", "-c", "printf '\\211picture\\000' | wl-copy --foreground --type image/png"});
    ASSERT_TRUE(waitFor([&] { return pasteboard->changeCount() >= 1; }));

    auto const kept = keep();
    ASSERT_EQ(kept, (ClipboardForms{{"image/png", std::string("\x89picture\0", 9)}}));
    ASSERT_TRUE(lend("lent"));
    EXPECT_EQ(text(), "lent");
    ASSERT_TRUE(putBack(*kept));

    EXPECT_EQ(text(), "");
    EXPECT_EQ(keep(), kept);
    EXPECT_EQ(gnome->run({"wl-paste", "--type", "image/png"}), std::string("\x89picture\0", 9));
}

TEST_F(ShellPasteboardTest, leavesNoTextWhereThereWasNone)
{
    startPasteboard();
    ASSERT_TRUE(lend("lent"));
    EXPECT_EQ(keep(), (ClipboardForms{{"text/plain;charset=utf-8", "lent"}}));

    EXPECT_TRUE(putBack({}));

    EXPECT_EQ(keep(), (ClipboardForms{{"text/plain;charset=utf-8", ""}}));
}

TEST_F(ShellPasteboardTest, keepsNoContentOfSeveralForms)
{
    startPasteboard();
    startKeyboard();
    gnome->start({"/usr/bin/python3", ZELVO_HARNESS "/clipboard_forms.py"});
    ASSERT_TRUE(waitFor([&] { return text() == "plain"; }));

    EXPECT_EQ(keep(), std::nullopt);

    EXPECT_EQ(text(), "plain");
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
