#include "desktop/wayland/harness/PrivateSway.h"
#include "desktop/x11/LiveContexts.h"
#include "fakes/FakeTextInsertion.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/linux/wayland/client/SeatKeymaps.h"
#include "platform/linux/wayland/clipboard/DataControlPasteboard.h"
#include "platform/linux/wayland/input/WaylandEventPosting.h"
#include "platform/linux/wayland/wlr/VirtualInput.h"
#include "wire/AgentError.h"

#include <gtest/gtest.h>

#include <signal.h>

#include <fstream>
#include <iterator>
#include <utility>

namespace zelvo::test {
namespace {

/// A door without keymaps for texts, as most compositors have.
class KeysOnly final : public InputSink {
public:
    explicit KeysOnly(InputSink& inner) : inner(inner) {}
    bool isReady() const override { return isOpen && inner.isReady(); }
    Task<bool> moveTo(LogicalPoint point) override { return inner.moveTo(point); }
    Task<bool> button(int button, bool isDown) override { return inner.button(button, isDown); }
    Task<bool> scroll(int down, int right) override { return inner.scroll(down, right); }
    Task<bool> key(int key, bool isDown) override
    {
        bool const isMade = co_await inner.key(key, isDown);
        if (!isDown && onKey)
            onKey(key);
        co_return isMade;
    }
    Task<> drained() override { return inner.drained(); }
    Task<bool> type(std::string) override { co_return false; }

    std::atomic<bool> isOpen = true;
    std::function<void(int)> onKey; ///< after a key was released

private:
    InputSink& inner;
};

/// Texts that only the clipboard carries, on a sway whose windows show no text to assistive technology.
class PastedTextTest : public testing::Test {
protected:
    virtual SwayOptions options() { return {}; }
    void SetUp() override
    {
        if (auto const reason = PrivateSway::missing(); !reason.empty())
            GTEST_SKIP() << reason;
        ::signal(SIGPIPE, SIG_IGN);
        sway = std::make_unique<PrivateSway>(options());
        sway->adoptEnvironment();
        path = sway->home() / "seen";
        input = VirtualInput::create(live.contexts());
        ASSERT_TRUE(input);
        door.emplace(*input);
        keymaps.emplace(live.contexts(), WaylandClient::open());
        copied.emplace(live.contexts(), clock, WaylandClient::open());
        clipboard.emplace(*copied);
        posting.emplace(WaylandEventPosting::Parts{
            .contexts = live.contexts(),
            .clock = clock,
            .sink = [this] { return &*door; },
            .monitors = [] { return MonitorLayout(); },
            .keymap = [this] { return std::optional(SeatKeymap{.text = keymaps->current(), .group = 0}); },
            .pointer = [] { return std::nullopt; },
            .front = [] { return std::nullopt; },
            .insertion = insertion,
            .clipboard = &*clipboard});
    }
    void TearDown() override
    {
        input.reset();
        live.stop();
    }

    pid_t openField()
    {
        pid_t const pid = sway->start({"/usr/bin/python3", ZELVO_INPUT_TEST_FOLDER "/gtk_field.py", path});
        require("the field", [&] { return std::filesystem::exists(path); });
        return pid;
    }
    void openTerminal()
    {
        insertion.place = TextInsertion::Place{.isTerminal = true};
        sway->start({"foot", "sh", "-c", "stty -icanon -echo; exec cat > " + path});
        require("the terminal", [&] { return std::filesystem::exists(path); });
    }
    void copyPicture()
    {
        std::ofstream(sway->home() / "picture") << "\x89picture";
        sway->start({"sh", "-c", "exec wl-copy --foreground --type image/png < $HOME/picture"});
        require("the copy", [&] { return copied->changeCount() > 0; });
    }
    std::string picture() { return sway->run({"wl-paste", "--type", "image/png"}); }

    bool type(std::string text)
    {
        auto const body = [this, text]() -> Task<bool> {
            co_await posting->beginText(text);
            PostedEvent const event = TextEvent{.text = text};
            bool const arrived = co_await posting->post(event);
            co_await posting->endText();
            co_return arrived;
        };
        return live.run(body());
    }
    std::string seen() const
    {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    bool sees(std::string const& text)
    {
        return waitFor([&] { return seen() == text; });
    }

    LiveContexts live;
    LinuxClock clock{live.contexts().agent};
    std::unique_ptr<PrivateSway> sway;
    std::string path;
    std::unique_ptr<VirtualInput> input;
    std::optional<KeysOnly> door;
    std::optional<SeatKeymaps> keymaps;
    std::optional<DataControlPasteboard> copied;
    std::optional<LentPasteboard> clipboard;
    FakeTextInsertion insertion;
    std::optional<WaylandEventPosting> posting;
};

TEST_F(PastedTextTest, arrivesInAFieldAndGivesThePictureBackSoon)
{
    openField();
    copyPicture();
    auto const begin = std::chrono::steady_clock::now();

    EXPECT_TRUE(type("漢字 🦊\nЖук"));

    auto const taken =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
    RecordProperty("milliseconds", static_cast<int>(taken.count()));
    EXPECT_LT(taken, 1500ms);
    EXPECT_TRUE(sees("漢字 🦊\nЖук")) << seen();
    EXPECT_EQ(picture(), "\x89picture");
}

TEST_F(PastedTextTest, arrivesInATerminal)
{
    openTerminal();
    copyPicture();

    EXPECT_TRUE(type("漢字\nЖук\n"));

    EXPECT_TRUE(sees("漢字\nЖук\n")) << seen();
    EXPECT_EQ(picture(), "\x89picture");
}

class PastedOnXwaylandTest : public PastedTextTest {
protected:
    SwayOptions options() override { return {.xwayland = true}; }
};

TEST_F(PastedOnXwaylandTest, arrivesInAFieldAndGivesThePictureBack)
{
    path = sway->runtimeFolder() / "seen";
    auto const command =
        PrivateSway::asUserOfCompositor({"/usr/bin/python3", ZELVO_INPUT_TEST_FOLDER "/gtk_field.py", path});
    pid_t const field = sway->start(command, {{"GDK_BACKEND", "x11"}});
    ASSERT_TRUE(waitFor([&] { return std::filesystem::exists(path); })) << sway->processes().output(field);
    copyPicture();

    EXPECT_TRUE(type("漢字\nЖук"));

    EXPECT_TRUE(sees("漢字\nЖук")) << seen();
    EXPECT_EQ(picture(), "\x89picture");
}

TEST_F(PastedTextTest, waitsForAProgramThatIsBusy)
{
    pid_t const field = openField();
    copyPicture();
    ASSERT_EQ(::kill(field, SIGSTOP), 0);
    sway->start({"sh", "-c", "sleep 0.7; kill -CONT " + std::to_string(field)});

    EXPECT_TRUE(type("漢"));

    EXPECT_TRUE(sees("漢")) << seen();
    EXPECT_EQ(picture(), "\x89picture");
}

TEST_F(PastedTextTest, saysThatATextDidNotArriveWhereNobodyReadsIt)
{
    copyPicture();

    EXPECT_THROW(type("漢字"), DetailedAgentError);
    live.run(posting->endText());

    EXPECT_EQ(picture(), "\x89picture");
}

TEST_F(PastedTextTest, endsWithTheGrantAndGivesThePictureBack)
{
    openField();
    copyPicture();
    door->onKey = [this](int key) {
        if (key == 28) // Return
            door->isOpen = false;
    };

    EXPECT_FALSE(type("漢\n字"));

    EXPECT_TRUE(sees("漢\n")) << seen();
    EXPECT_EQ(picture(), "\x89picture");
}

TEST_F(PastedTextTest, endsAtALockInTheMiddle)
{
    openField();
    copyPicture();
    std::atomic<bool> isLocked = false;
    posting->setMayContinue([&isLocked]() -> Task<bool> { co_return !isLocked; });
    door->onKey = [&isLocked](int key) { isLocked = isLocked || key == 28; };

    EXPECT_FALSE(type("漢\n字\n"));

    EXPECT_TRUE(sees("漢\n")) << seen();
    EXPECT_EQ(picture(), "\x89picture");
}

} // namespace
} // namespace zelvo::test
