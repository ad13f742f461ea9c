#include "drivers/ClipboardWatcher.h"

#include "fakes/FakePlatform.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace zelvo {
namespace {

RunningApplication application(std::vector<std::string> names)
{
    return {.pid = 100, .names = {std::move(names)}, .localizedName = {}, .bundlePath = {}, .launchDate = {}};
}

class ClipboardWatching : public testing::Test {
protected:
    FakePlatform platform;
    std::optional<ClipboardWatcher> watcher;

    ClipboardWatching() { platform.desktop.front = application({"org.front.App"}); }
    ~ClipboardWatching() override
    {
        watcher.reset();
        platform.settle();
    }

    void make() { watcher.emplace(platform.contexts, platform.time, platform.clipboard, platform.desktop); }
    /// By what the person's list holds now.
    bool isHidden(std::set<std::string> const& hidden)
    {
        return watcher->isSourceHidden(hidden, watcher->lastChange());
    }
    /// A program copies; the watcher's next tick passes.
    void copies(ClipboardChange by)
    {
        platform.clipboard.copy("text", std::move(by));
        platform.time.advance(500ms);
    }
    ClipboardChange by(std::string name, bool isRegular = true) const
    {
        ClipboardChange change{.owner = application({std::move(name)})};
        change.owner.isRegular = isRegular;
        change.owner.launchDate = platform.time.date();
        return change;
    }
    void makeAndStart()
    {
        make();
        watcher->start();
        platform.settle();
    }
};

TEST_F(ClipboardWatching, knowsNoSourceAtStart)
{
    platform.clipboard.copy("before the program started");
    makeAndStart();

    platform.time.advance(10s);

    EXPECT_EQ(watcher->lastSourceBundleId(), std::nullopt);
    EXPECT_EQ(platform.desktop.looks, 0);
}

TEST_F(ClipboardWatching, notesTheApplicationInFrontAtTheFirstTickAfterAChange)
{
    makeAndStart();
    platform.clipboard.copy("text");
    platform.time.advance(499ms);
    EXPECT_EQ(watcher->lastSourceBundleId(), std::nullopt);

    platform.desktop.front = application({"org.second.App"}); // The person switches in the meantime.
    platform.time.advance(1ms);

    EXPECT_EQ(watcher->lastSourceBundleId(), "org.second.App");
}

TEST_F(ClipboardWatching, countsTwoChangesWithinOneTickAsOne)
{
    makeAndStart();
    platform.clipboard.copy("one");
    platform.time.advance(200ms);
    platform.desktop.front = application({"org.second.App"});
    platform.clipboard.copy("two");

    platform.time.advance(300ms);

    EXPECT_EQ(watcher->lastSourceBundleId(), "org.second.App");
    EXPECT_EQ(platform.desktop.looks, 1);
}

TEST_F(ClipboardWatching, keepsTheSourceWhenTheFrontChangesButNotTheClipboard)
{
    makeAndStart();
    platform.clipboard.copy("text");
    platform.time.advance(500ms);

    platform.desktop.front = application({"org.second.App"});
    platform.time.advance(5s);

    EXPECT_EQ(watcher->lastSourceBundleId(), "org.front.App");
    EXPECT_EQ(platform.desktop.looks, 1);
}

TEST_F(ClipboardWatching, forgetsTheSourceWhenNothingIsInFrontAtAChange)
{
    makeAndStart();
    platform.clipboard.copy("text");
    platform.time.advance(500ms);

    platform.desktop.front.reset();
    platform.clipboard.copy("other");
    platform.time.advance(500ms);

    EXPECT_EQ(watcher->lastSourceBundleId(), std::nullopt);
}

TEST_F(ClipboardWatching, forgetsTheSourceWhenTheFrontHasNoName)
{
    makeAndStart();
    platform.clipboard.copy("text");
    platform.time.advance(500ms);

    platform.desktop.front = application({});
    platform.clipboard.copy("other");
    platform.time.advance(500ms);

    EXPECT_EQ(watcher->lastSourceBundleId(), std::nullopt);
    EXPECT_FALSE(isHidden({"org.front.App", ""}));
}

TEST_F(ClipboardWatching, leavesOneTimerWhenStartedTwice)
{
    makeAndStart();
    platform.time.advance(300ms);
    watcher->start();
    platform.settle();
    int const looks = platform.clipboard.looks;

    platform.time.advance(499ms);
    EXPECT_EQ(platform.clipboard.looks, looks);
    platform.time.advance(1ms);
    EXPECT_EQ(platform.clipboard.looks, looks + 1);
    platform.time.advance(5s);

    EXPECT_EQ(platform.clipboard.looks, looks + 11);
    EXPECT_EQ(platform.time.sleeperCount(), 1u);
}

TEST_F(ClipboardWatching, looksNoMoreOnceStopped)
{
    makeAndStart();
    platform.clipboard.copy("text");
    platform.time.advance(500ms);
    int const looks = platform.clipboard.looks;

    watcher->stop();
    platform.settle();
    platform.clipboard.copy("other");
    platform.time.advance(5s);

    EXPECT_EQ(platform.clipboard.looks, looks);
    EXPECT_EQ(watcher->lastSourceBundleId(), "org.front.App");
    EXPECT_EQ(platform.time.sleeperCount(), 0u);
}

TEST_F(ClipboardWatching, canBeStoppedWithoutATimer)
{
    make();

    watcher->stop();
    watcher->stop();
    platform.settle();

    EXPECT_EQ(watcher->lastSourceBundleId(), std::nullopt);
}

TEST_F(ClipboardWatching, canBeStartedAgain)
{
    makeAndStart();
    watcher->stop();
    platform.clipboard.copy("meanwhile");

    watcher->start();
    platform.time.advance(500ms);

    EXPECT_EQ(watcher->lastSourceBundleId(), "org.front.App");
}

TEST_F(ClipboardWatching, isNotKeptByItsTimer)
{
    makeAndStart();
    platform.clipboard.copy("text");

    watcher.reset();
    platform.time.advance(5s);

    EXPECT_EQ(platform.desktop.looks, 0);
    EXPECT_EQ(platform.time.sleeperCount(), 0u);
}

TEST_F(ClipboardWatching, ticksOnceAfterTheMachineHasSlept)
{
    makeAndStart();
    int const looks = platform.clipboard.looks;

    platform.time.jump(1h);
    platform.time.advance(0s);

    EXPECT_LE(platform.clipboard.looks, looks + 2); // Not one poll for each half second of the hour.
}

TEST_F(ClipboardWatching, judgesAllNamesOfTheSourceByTheListOfTheMoment)
{
    platform.desktop.front = application({"org.vault.Vault", "vault", "Vault"});
    makeAndStart();
    platform.clipboard.copy("secret");
    platform.time.advance(500ms);

    EXPECT_EQ(watcher->lastSourceBundleId(), "org.vault.Vault");
    EXPECT_FALSE(isHidden({}));
    EXPECT_FALSE(isHidden({"org.other.App"}));
    EXPECT_TRUE(isHidden({"vault"}));
    EXPECT_TRUE(isHidden({"org.other.App", "org.vault.Vault"}));
}

TEST_F(ClipboardWatching, looksOnRequestToo)
{
    makeAndStart();
    platform.clipboard.copy("text");

    run(platform.io, watcher->poll());

    EXPECT_EQ(watcher->lastSourceBundleId(), "org.front.App");
    platform.time.advance(500ms);
    EXPECT_EQ(platform.desktop.looks, 1);
}

TEST_F(ClipboardWatching, waitsForALookThatIsUnderWay)
{
    make();
    platform.clipboard.copy("text");
    std::vector<std::optional<std::string>> seen;
    for (int caller = 0; caller < 2; ++caller)
        spawn(platform.contexts.main, [&]() -> Task<> {
            co_await watcher->poll();
            seen.push_back(watcher->lastSourceBundleId());
        });

    platform.settle();

    EXPECT_EQ(seen, (std::vector<std::optional<std::string>>{"org.front.App", "org.front.App"}));
    EXPECT_EQ(platform.desktop.looks, 1);
}

TEST_F(ClipboardWatching, goesOnAfterALookThatFailed)
{
    makeAndStart();
    platform.desktop.onLook = [](int look) {
        if (look == 2)
            throw std::runtime_error("the server has gone");
    };
    platform.clipboard.copy("one");
    platform.time.advance(500ms);
    platform.clipboard.copy("two");
    platform.time.advance(500ms);
    EXPECT_EQ(watcher->lastSourceBundleId(), std::nullopt);

    platform.clipboard.copy("three");
    platform.time.advance(500ms);

    EXPECT_EQ(watcher->lastSourceBundleId(), "org.front.App");
}

TEST_F(ClipboardWatching, hidesWhatAHiddenOwnerCopiesInTheBackground)
{
    makeAndStart();
    copies(by("org.vault.Vault"));

    EXPECT_EQ(watcher->lastSourceBundleId(), "org.front.App");
    EXPECT_TRUE(isHidden({"org.vault.Vault"}));
    EXPECT_TRUE(isHidden({"org.front.App"}));
    EXPECT_FALSE(isHidden({"org.other.App"}));
    copies(by("org.other.App"));
    EXPECT_FALSE(isHidden({"org.vault.Vault"}));
}

TEST_F(ClipboardWatching, hidesWhatAHiddenOwnerCopiedBeforeTheFrontChanged)
{
    platform.desktop.front = application({"org.vault.Vault"});
    makeAndStart();
    platform.clipboard.copy("secret", by("org.vault.Vault"));
    platform.time.advance(200ms);
    platform.desktop.front = application({"org.front.App"});
    platform.time.advance(300ms);

    EXPECT_EQ(watcher->lastSourceBundleId(), "org.front.App");
    EXPECT_TRUE(isHidden({"org.vault.Vault"}));
}

TEST_F(ClipboardWatching, hidesAllOfAProcessThatHoldsAHiddenApplication)
{
    makeAndStart();
    ClipboardChange office = by("org.office.Writer");
    office.owner.names.hiddenWith = {"org.office.Calc"};
    copies(office);

    EXPECT_TRUE(isHidden({"org.office.Calc"}));
}

TEST_F(ClipboardWatching, hidesWhatAHiddenOwnerHadCopiedBeforeTheStart)
{
    ClipboardChange early = by("org.vault.Vault");
    early.count = 0;
    platform.clipboard.known = {early};
    makeAndStart();

    run(platform.io, watcher->poll());

    EXPECT_EQ(watcher->lastSourceBundleId(), std::nullopt);
    EXPECT_TRUE(isHidden({"org.vault.Vault"}));
    EXPECT_FALSE(isHidden({"org.front.App"}));
}

TEST_F(ClipboardWatching, hidesAnythingThatWasOnItSinceAChange)
{
    makeAndStart();
    copies(by("org.one.App"));
    std::int64_t const since = watcher->lastChange();
    platform.clipboard.copy("secret", by("org.vault.Vault")); // Both within one tick.
    copies(by("org.two.App"));

    EXPECT_FALSE(isHidden({"org.vault.Vault"}));
    EXPECT_TRUE(watcher->isSourceHidden({"org.vault.Vault"}, since));
}

TEST_F(ClipboardWatching, hidesWhatAProgramWithoutWindowsMayHaveTakenOver)
{
    makeAndStart();
    ClipboardChange const background = by("keeper", false);
    platform.time.advance(1s);
    copies(by("org.vault.Vault"));
    copies(by("org.other.App"));
    copies(background);
    EXPECT_TRUE(isHidden({"org.vault.Vault"}));
    EXPECT_TRUE(isHidden({"org.other.App"}));

    copies(by("org.other.App"));
    copies(by("tool", false)); // Younger than any of the copies.
    EXPECT_FALSE(isHidden({"org.vault.Vault"}));
}

TEST_F(ClipboardWatching, hidesWhatAManagerMayHaveKept)
{
    makeAndStart();
    ClipboardChange manager = by("manager");
    manager.isManagers = true;
    copies(by("org.vault.Vault"));
    copies(by("org.other.App"));
    platform.desktop.front = application({"org.second.App"});
    copies(manager);

    EXPECT_TRUE(isHidden({"org.vault.Vault"}));
    EXPECT_EQ(watcher->lastSourceBundleId(), "org.front.App");
}

TEST_F(ClipboardWatching, takesNothingOverFromOthersForThisProgramsText)
{
    makeAndStart();
    copies(by("org.vault.Vault"));
    ClipboardChange const ours{.isOurs = true};
    copies(ours);

    EXPECT_FALSE(isHidden({"org.vault.Vault"}));
}

TEST_F(ClipboardWatching, remembersABoundedNumberOfSources)
{
    makeAndStart();
    ClipboardChange const background = by("keeper", false);
    for (int i = 0; i < 300; ++i)
        copies(by("app" + std::to_string(i)));
    copies(background);

    EXPECT_TRUE(isHidden({"app299"}));
    EXPECT_FALSE(isHidden({"app0"}));
}

} // namespace
} // namespace zelvo
