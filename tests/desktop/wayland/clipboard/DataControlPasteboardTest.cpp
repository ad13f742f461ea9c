#include "platform/linux/wayland/clipboard/DataControlPasteboard.h"

#include "desktop/wayland/harness/PrivateKwin.h"
#include "desktop/wayland/harness/PrivateSway.h"
#include "desktop/x11/LiveContexts.h"
#include "platform/linux/system/LinuxClock.h"

#include <gtest/gtest.h>

#include <signal.h>

#include <fstream>
#include <memory>
#include <optional>
#include <string>

namespace zelvo::test {

namespace {

std::string const letters = "naïve Жук 漢字 かな 한글 🦊👩‍🚀 end";

/// On KWin and on sway.
class DataControlPasteboardTest : public testing::TestWithParam<char const*> {
protected:
    void SetUp() override
    {
        bool const isKwin = std::string(GetParam()) == "kwin";
        std::string const missing = isKwin ? PrivateKwin::missingPackage() : PrivateSway::missing();
        if (!missing.empty())
            GTEST_SKIP() << missing;
        ::signal(SIGPIPE, SIG_IGN);
        if (isKwin)
            session = std::make_unique<PrivateKwin>();
        else
            session = std::make_unique<PrivateSway>();
        session->adoptEnvironment();
        open();
    }
    void TearDown() override
    {
        pasteboard.reset();
        live.stop();
    }

    void open()
    {
        auto client = WaylandClient::open();
        ASSERT_TRUE(client);
        ASSERT_TRUE(DataControlPasteboard::isOffered(*client));
        pasteboard = std::make_unique<DataControlPasteboard>(live.contexts(), clock, std::move(client));
    }
    std::string text() { return live.run(pasteboard->text()); }
    bool setText(std::string text) { return live.run(pasteboard->setText(std::move(text))); }
    std::vector<ClipboardChange> changesAfter(std::int64_t count)
    {
        return live.run(pasteboard->changesAfter(count));
    }
    /// Another program copies; wl-copy stays until another copies.
    pid_t copy(std::string const& content, std::string const& type = "text/plain;charset=utf-8")
    {
        auto const file = session->home() / "content";
        std::ofstream(file) << content;
        return session->start(
            {"sh", "-c", "exec wl-copy --foreground --type '" + type + "' < " + file.string()});
    }
    std::string paste() { return session->run({"wl-paste", "--no-newline"}); }
    bool becomes(std::string const& wanted)
    {
        return waitFor([&] { return text() == wanted; });
    }

    LiveContexts live;
    LinuxClock clock{live.contexts().agent};
    std::unique_ptr<PrivateSession> session;
    std::unique_ptr<DataControlPasteboard> pasteboard;
};

TEST_P(DataControlPasteboardTest, readsWhatOthersCopy)
{
    EXPECT_EQ(text(), "");
    std::int64_t const before = pasteboard->changeCount();

    copy(letters);

    EXPECT_TRUE(becomes(letters));
    EXPECT_GT(pasteboard->changeCount(), before);
    auto const changes = changesAfter(before);
    ASSERT_FALSE(changes.empty());
    EXPECT_EQ(changes.back().count, pasteboard->changeCount());
    EXPECT_FALSE(changes.back().isOurs);
    EXPECT_TRUE(changesAfter(pasteboard->changeCount()).empty());
}

TEST_P(DataControlPasteboardTest, givesItsTextToOthers)
{
    std::int64_t const before = pasteboard->changeCount();

    EXPECT_TRUE(setText(letters));

    EXPECT_EQ(paste(), letters);
    EXPECT_EQ(text(), letters);
    auto const changes = changesAfter(before);
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_TRUE(changes[0].isOurs);
    EXPECT_TRUE(setText("second"));
    EXPECT_EQ(paste(), "second");
    EXPECT_TRUE(changesAfter(before).back().isOurs);
}

TEST_P(DataControlPasteboardTest, noticesThatAnotherProgramOwnsTheClipboard)
{
    ASSERT_TRUE(setText("ours"));
    std::int64_t const before = pasteboard->changeCount();

    copy("theirs");

    EXPECT_TRUE(becomes("theirs"));
    EXPECT_FALSE(changesAfter(before).back().isOurs);
    EXPECT_TRUE(setText("ours again"));
    EXPECT_EQ(paste(), "ours again");
}

TEST_P(DataControlPasteboardTest, knowsTheContentFromBeforeTheStart)
{
    copy("early");
    require("the content", [&] { return text() == "early"; });
    pasteboard.reset();

    open();

    EXPECT_EQ(text(), "early");
    EXPECT_EQ(pasteboard->changeCount(), 0);
    EXPECT_TRUE(changesAfter(0).empty());
    EXPECT_EQ(changesAfter(-1).size(), 1U);
}

TEST_P(DataControlPasteboardTest, carriesTwentyMegabytesBothWays)
{
    std::string large;
    while (large.size() < std::size_t{20} << 20)
        large += letters + std::to_string(large.size());

    copy(large);
    EXPECT_TRUE(becomes(large));
    ASSERT_TRUE(setText(large + "!"));

    EXPECT_EQ(session->run({"sh", "-c", "wl-paste --no-newline | wc -c"}),
              std::to_string(large.size() + 1) + "\n");
}

TEST_P(DataControlPasteboardTest, readsNothingThatIsTooLongOrNoText)
{
    copy(std::string(Pasteboard::maxTextLength + 1, 'x'));
    require("the copy", [&] { return pasteboard->changeCount() > 0; });
    EXPECT_EQ(text(), "");

    copy("other words", "text/plain;charset=UTF-8");
    EXPECT_TRUE(becomes("other words"));

    copy("picture", "image/png");
    require("the copy", [&] { return pasteboard->changeCount() > 2; });
    EXPECT_EQ(text(), "");
}

TEST_P(DataControlPasteboardTest, replacesIllFormedText)
{
    copy("a\xff"
         "b");

    EXPECT_TRUE(becomes("a\xEF\xBF\xBD"
                        "b"));
}

TEST_P(DataControlPasteboardTest, servesManyReadersSlowAndBrokenOnesToo)
{
    std::string const large(5 << 20, 'x');
    ASSERT_TRUE(setText(large));
    // One never reads, one ends in the middle, one begins late.
    session->start({"sh", "-c", "wl-paste | sleep 600"});
    session->start({"sh", "-c", "wl-paste | head -c 100000 > /dev/null"});
    std::vector<pid_t> readers;
    for (int count = 0; count < 8; ++count)
        readers.push_back(session->start({"sh", "-c", "wl-paste --no-newline | wc -c"}));

    for (pid_t const reader : readers) {
        EXPECT_EQ(session->processes().waitForEnd(reader, 20), 0);
        EXPECT_EQ(session->processes().output(reader), std::to_string(large.size()) + "\n");
    }
    EXPECT_TRUE(setText("next"));
    EXPECT_EQ(paste(), "next");
}

TEST_P(DataControlPasteboardTest, givesUpAnOwnerThatIsSilent)
{
    pid_t const owner = copy("soon stopped");
    require("the copy", [&] { return text() == "soon stopped"; });
    ASSERT_EQ(::kill(owner, SIGSTOP), 0);

    EXPECT_EQ(text(), "");

    ::kill(owner, SIGCONT);
    EXPECT_TRUE(becomes("soon stopped"));
}

TEST_P(DataControlPasteboardTest, survivesTheEndOfTheCompositor)
{
    ASSERT_TRUE(setText("ours"));

    session.reset();

    EXPECT_TRUE(waitFor([&] { return !setText("more"); }));
    EXPECT_EQ(text(), "");
}

TEST_P(DataControlPasteboardTest, reachesAToolkit)
{
    ASSERT_TRUE(setText(letters));
    if (std::string(GetParam()) == "sway") // Without a keyboard, sway gives no window the clipboard.
        session->start({"sh", "-c", "while wtype -s 2000; do :; done"});

    pid_t const reader = session->start({"/usr/bin/python3", PrivateKwin::program("clipboard.py"), "get"});

    EXPECT_TRUE(waitFor([&] {
        return session->processes().output(reader).find("text:" + letters) != std::string::npos;
    })) << session->processes().output(reader);
}

TEST_P(DataControlPasteboardTest, hintsToHistoriesThatALentTextIsNoneOfTheirs)
{
    ASSERT_TRUE(live.run(pasteboard->lend("lent")));

    EXPECT_EQ(paste(), "lent");
    EXPECT_EQ(session->run({"wl-paste", "--no-newline", "--type", "x-kde-passwordManagerHint"}), "secret");
    ASSERT_TRUE(setText("copied"));
    EXPECT_EQ(session->run({"wl-paste", "--list-types"}).find("passwordManagerHint"), std::string::npos);
}

TEST_P(DataControlPasteboardTest, saysWhenALentTextWasRead)
{
    ASSERT_TRUE(live.run(pasteboard->lend("lent")));
    std::uint64_t const before = pasteboard->readings().value();
    EXPECT_FALSE(live.run(pasteboard->waitForReading(before, 50ms)));
    // Asking for the hint is no reading.
    session->run({"wl-paste", "--type", "x-kde-passwordManagerHint"});
    EXPECT_EQ(pasteboard->readings(), before);

    session->start({"sh", "-c", "sleep 0.1; exec wl-paste"});
    EXPECT_TRUE(live.run(pasteboard->waitForReading(before, 10s)));

    EXPECT_EQ(pasteboard->readings(), before + 1);
}

TEST_P(DataControlPasteboardTest, putsBackAPictureThatSomebodyCopied)
{
    std::string picture(3 << 20, 'p');
    picture[1] = '\0';
    picture[2] = '\xff';
    copy(picture, "image/png");
    require("the copy", [&] { return pasteboard->changeCount() > 0; });

    auto const kept = live.run(pasteboard->keep());
    ASSERT_TRUE(kept);
    ASSERT_TRUE(live.run(pasteboard->lend("lent")));
    ASSERT_TRUE(live.run(pasteboard->putBack(*kept)));

    EXPECT_EQ(session->run({"wl-paste", "--type", "image/png"}), picture);
    EXPECT_EQ(session->run({"wl-paste", "--list-types"}).find("text"), std::string::npos);
    EXPECT_EQ(text(), "");
}

TEST_P(DataControlPasteboardTest, putsAllFormsOfAContentBack)
{
    std::vector<std::string> owner = {"/usr/bin/python3", PrivateKwin::program("clipboard_forms.py")};
    if (std::string(GetParam()) == "sway") { // It lets a program copy only when it gets a key.
        session->start({"sh", "-c", "while wtype -s 300 -k a; do :; done"});
        owner.emplace_back("key");
    }
    session->start(owner);
    require("the copy", [&] { return text() == "plain"; });

    auto const kept = live.run(pasteboard->keep());
    ASSERT_TRUE(kept);
    ASSERT_TRUE(live.run(pasteboard->lend("lent")));
    ASSERT_TRUE(live.run(pasteboard->putBack(*kept)));

    EXPECT_EQ(live.run(pasteboard->keep()), kept);
    EXPECT_EQ(session->run({"wl-paste", "--no-newline", "--type", "text/html"}), "<b>rich</b>");
    EXPECT_EQ(session->run({"wl-paste", "--no-newline", "--type", "text/uri-list"}), "file:///tmp/a\r\n");
    EXPECT_EQ(text(), "plain");
}

TEST_P(DataControlPasteboardTest, leavesAnEmptyClipboardEmptyAgain)
{
    auto const kept = live.run(pasteboard->keep());
    ASSERT_TRUE(kept);
    EXPECT_TRUE(kept->empty());
    ASSERT_TRUE(live.run(pasteboard->lend("lent")));

    EXPECT_TRUE(live.run(pasteboard->putBack(*kept)));

    EXPECT_EQ(text(), "");
    open();
    EXPECT_EQ(live.run(pasteboard->keep()), ClipboardForms());
}

TEST_P(DataControlPasteboardTest, keepsNothingThatIsTooLongOrWhoseOwnerIsSilent)
{
    copy(std::string(LendableClipboard::maxFormsSize + 1, 'x'), "image/png");
    require("the copy", [&] { return pasteboard->changeCount() > 0; });
    EXPECT_EQ(live.run(pasteboard->keep()), std::nullopt);

    pid_t const owner = copy("soon stopped");
    require("the copy", [&] { return text() == "soon stopped"; });
    ASSERT_EQ(::kill(owner, SIGSTOP), 0);
    auto const begin = std::chrono::steady_clock::now();
    EXPECT_EQ(live.run(pasteboard->keep()), std::nullopt);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 3s);
    ::kill(owner, SIGCONT);
}

TEST_P(DataControlPasteboardTest, handsOverAtOnceWhenNobodyReads)
{
    ASSERT_TRUE(setText("kept"));
    auto const begin = std::chrono::steady_clock::now();

    live.run(pasteboard->handOver());

    EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
}

INSTANTIATE_TEST_SUITE_P(Compositors,
                         DataControlPasteboardTest,
                         testing::Values("kwin", "sway"),
                         [](auto const& info) { return std::string(info.param); });

} // namespace

} // namespace zelvo::test
