#include "platform/portable/streams/PacedScreenStream.h"

#include "fakes/ManualClock.h"
#include "fakes/Run.h"

#include <boost/asio/detached.hpp>
#include <gmock/gmock.h>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr Duration interval = 125ms;
using Names = std::set<std::string>;

/// A screen whose changes during a read are controlled by the test.
class ScriptedSource final : public ScreenSource {
public:
    std::vector<Display> attached = {{.id = 7, .widthPoints = 64, .heightPoints = 32}};
    std::vector<CaptureRequest> requests;
    std::function<void()> whileTaking;

    std::vector<Display> screens() override { return attached; }
    Task<std::vector<Display>> capturableDisplays() override { co_return attached; }
    Task<Picture> capture(CaptureRequest request) override
    {
        requests.push_back(request);
        if (whileTaking)
            whileTaking();
        Picture picture{.width = request.width, .height = request.height, .stride = request.width * 4};
        picture.pixels = PixelBuffer(std::size_t(picture.stride) * std::size_t(picture.height));
        co_return picture;
    }
    void observeScreens(std::function<void()>) override {}
};

struct ScriptedChanges {
    bool isChanged = false;
    bool isAlive = true;
    bool canBeTold = true;
    int looks = 0;
    int open = 0;
};

class FakeChangeDetector final : public ChangeDetector {
public:
    explicit FakeChangeDetector(ScriptedChanges& script) : script(script) { ++script.open; }
    ~FakeChangeDetector() override { --script.open; }
    bool take() override
    {
        ++script.looks;
        return script.isChanged;
    }
    bool isAlive() const override { return script.isAlive; }

private:
    ScriptedChanges& script;
};

class KeepingOutput final : public ScreenStreamOutput {
public:
    void frameArrived(ScreenFrame const& frame) override
    {
        EXPECT_NE(frame.picture, nullptr);
        EXPECT_EQ(frame.status, ScreenFrame::Status::complete);
        times.push_back(frame.time.time_since_epoch());
        if (whileTaking)
            whileTaking();
    }
    void streamStopped(ScreenFailure const& failure) override { stops.push_back(failure.reason); }

    std::vector<Duration> times;
    std::vector<std::string> stops;
    std::function<void()> whileTaking;
};

class PacedStream : public testing::Test {
protected:
    void start()
    {
        PacedStreamParts parts{
            .contexts = contextsOn(io), .clock = clock, .source = source, .openChanges = open};
        stream = std::make_unique<PacedScreenStream>(parts, open(), request, io.get_executor(), output);
        settle(io);
    }
    std::unique_ptr<ChangeDetector> openNow()
    {
        return changes.canBeTold ? std::make_unique<FakeChangeDetector>(changes) : nullptr;
    }

    asio::io_context io;
    ManualClock clock{&io};
    ScriptedSource source;
    ScriptedChanges changes;
    std::shared_ptr<KeepingOutput> output = std::make_shared<KeepingOutput>();
    std::function<std::unique_ptr<ChangeDetector>()> open = [this] { return openNow(); };
    ScreenStreamRequest request{.picture = {.display = 7, .width = 64, .height = 32, .excluded = {"a"}},
                                .minimumFrameInterval = interval};
    std::unique_ptr<PacedScreenStream> stream;
};

TEST_F(PacedStream, deliversTheFirstPictureAtOnce)
{
    start();

    EXPECT_THAT(output->times, ElementsAre(0s));
    EXPECT_EQ(source.requests.at(0).excluded, Names{"a"});
    EXPECT_EQ(source.requests.at(0).width, 64);
}

TEST_F(PacedStream, readsNothingWhileNothingChanges)
{
    start();
    clock.advance(10s);

    EXPECT_THAT(output->times, SizeIs(1));
    EXPECT_THAT(source.requests, SizeIs(1));
    EXPECT_EQ(changes.looks, 81);
}

TEST_F(PacedStream, takesAtMostOneInEveryInterval)
{
    changes.isChanged = true;
    start();
    clock.advance(10s);

    ASSERT_THAT(output->times, SizeIs(81));
    for (std::size_t i = 1; i < output->times.size(); ++i)
        EXPECT_GE(output->times[i] - output->times[i - 1], interval);
}

TEST_F(PacedStream, takesTheNextOnlyOnceTheLastIsWorkedOff)
{
    changes.isChanged = true;
    output->whileTaking = [this] { clock.jump(output->times.size() < 4 ? 500ms : 0ms); };
    start();

    EXPECT_THAT(output->times, ElementsAre(0ms, 500ms, 1000ms, 1500ms));
}

TEST_F(PacedStream, saysWhenTheScreenCouldBeReadIfThatTookLonger)
{
    source.whileTaking = [this] { clock.jump(400ms); };
    start();

    EXPECT_THAT(output->times, ElementsAre(400ms));
}

TEST_F(PacedStream, doesNothingWhileNoFramesAreWanted)
{
    changes.isChanged = true;
    start();
    stream->setWanted(false);
    clock.advance(1s);
    int const looks = changes.looks;

    clock.advance(60s);

    EXPECT_THAT(output->times, SizeIs(1));
    EXPECT_EQ(changes.looks, looks);
    EXPECT_EQ(changes.open, 0);
    EXPECT_EQ(clock.sleeperCount(), 0u);
}

TEST_F(PacedStream, takesOneAtOnceWhenFramesAreWantedAgain)
{
    start();
    stream->setWanted(false);
    clock.advance(60s);

    stream->setWanted(true);
    settle(io);

    EXPECT_THAT(output->times, ElementsAre(0s, 60s));
    clock.advance(5s);
    EXPECT_THAT(output->times, SizeIs(2));
}

TEST_F(PacedStream, leavesOutTheNewOnesFromTheNextPictureOn)
{
    start();
    run(io, stream->updateFilter({}, {"b"}));
    clock.advance(interval);

    EXPECT_THAT(output->times, SizeIs(2));
    EXPECT_EQ(source.requests.back().excluded, Names{"b"});
    clock.advance(5s);
    EXPECT_THAT(output->times, SizeIs(2));
}

TEST_F(PacedStream, showsTheOtherDisplayFromTheNextPictureOn)
{
    source.attached.push_back({.id = 8, .widthPoints = 640, .heightPoints = 320});
    start();
    run(io, stream->updateFilter(8, {"a"}));
    source.attached.erase(source.attached.begin());
    clock.advance(10s);

    EXPECT_THAT(output->times, SizeIs(2));
    EXPECT_EQ(source.requests.back().display, 8u);
    EXPECT_EQ(source.requests.back().width, 64); // The pictures keep their size.
    EXPECT_THAT(output->stops, IsEmpty());
}

TEST_F(PacedStream, doesNotDeliverAPictureThatWasTakenBeforeTheChange)
{
    bool isFirst = true;
    source.whileTaking = [this, &isFirst] {
        if (std::exchange(isFirst, false))
            run(io, stream->updateFilter({}, {"b"}));
    };
    // Started by hand: the stream must be known while the first picture is taken.
    PacedStreamParts parts{.contexts = contextsOn(io), .clock = clock, .source = source, .openChanges = open};
    stream = std::make_unique<PacedScreenStream>(parts, open(), request, io.get_executor(), output);
    settle(io);
    EXPECT_THAT(output->times, IsEmpty());

    clock.advance(interval);

    EXPECT_THAT(output->times, SizeIs(1));
    EXPECT_EQ(source.requests.back().excluded, Names{"b"});
}

TEST_F(PacedStream, outlivesAPictureThatFails)
{
    bool isFirst = true;
    source.whileTaking = [&isFirst] {
        if (std::exchange(isFirst, false))
            throw ScreenFailure{"a window has vanished"};
    };
    start();
    EXPECT_THAT(output->times, IsEmpty());

    clock.advance(interval);

    EXPECT_THAT(output->times, ElementsAre(interval));
    EXPECT_THAT(output->stops, IsEmpty());
}

TEST_F(PacedStream, endsWhenNoPictureCanBeTakenForTwoSeconds)
{
    source.whileTaking = [] { throw ScreenFailure{"broken"}; };
    start();
    clock.advance(1900ms);
    EXPECT_THAT(output->stops, IsEmpty());

    clock.advance(10s);

    EXPECT_THAT(output->stops, ElementsAre("broken"));
    EXPECT_THAT(output->times, IsEmpty());
    EXPECT_EQ(clock.sleeperCount(), 0u);
}

TEST_F(PacedStream, countsNoPauseToTheTimeInWhichPicturesFail)
{
    source.whileTaking = [] { throw ScreenFailure{"broken"}; };
    start();
    clock.advance(1s);
    stream->setWanted(false);
    clock.advance(60s);

    stream->setWanted(true);
    clock.advance(1900ms);
    EXPECT_THAT(output->stops, IsEmpty());

    clock.advance(1s);
    EXPECT_THAT(output->stops, ElementsAre("broken"));
}

TEST_F(PacedStream, endsWhenItsDisplayIsGone)
{
    start();
    source.attached = {{.id = 8, .widthPoints = 64, .heightPoints = 32}};
    clock.advance(10s);

    EXPECT_THAT(output->stops, ElementsAre("the display is gone"));
    EXPECT_THAT(output->times, SizeIs(1));
}

TEST_F(PacedStream, goesOnWhenItsDisplayComesBack)
{
    start();
    auto const before = std::exchange(source.attached, {});
    clock.advance(1s);
    source.attached = before;
    source.attached[0].widthPoints = 32;
    clock.advance(10s);

    EXPECT_THAT(output->stops, IsEmpty());
    EXPECT_THAT(output->times, SizeIs(2));
    EXPECT_EQ(source.requests.back().width, 64);
}

TEST_F(PacedStream, endsWhenTheScreenIsGone)
{
    start();
    changes.isAlive = false;
    clock.advance(interval);

    EXPECT_THAT(output->stops, SizeIs(1));
    clock.advance(10s);
    EXPECT_THAT(output->stops, SizeIs(1));
    EXPECT_THAT(output->times, SizeIs(1));
    EXPECT_EQ(changes.open, 0);
    EXPECT_EQ(clock.sleeperCount(), 0u);
}

TEST_F(PacedStream, endsWhenItCannotBeToldOfChangesAnyMore)
{
    start();
    stream->setWanted(false);
    clock.advance(1s);
    changes.canBeTold = false;
    stream->setWanted(true);
    settle(io);

    EXPECT_THAT(output->stops, SizeIs(1));
}

TEST_F(PacedStream, deliversNothingOnceItIsStopped)
{
    changes.isChanged = true;
    start();
    run(io, stream->stop());
    clock.advance(10s);

    EXPECT_THAT(output->times, SizeIs(1));
    EXPECT_EQ(changes.open, 0);
}

TEST_F(PacedStream, isStoppedAfterWhatIsBeingDelivered)
{
    changes.isChanged = true;
    bool isStopped = false;
    output->whileTaking = [&] {
        asio::co_spawn(io, stream->stop(), [&](std::exception_ptr) { isStopped = true; });
        io.poll_one();
        EXPECT_FALSE(isStopped);
    };
    start();

    EXPECT_TRUE(isStopped);
    clock.advance(10s);
    EXPECT_THAT(output->times, SizeIs(1));
}

TEST_F(PacedStream, isStillBeingStoppedWhateverElseIsWishedMeanwhile)
{
    changes.isChanged = true;
    int stopped = 0;
    auto const noteStop = [&](std::exception_ptr) { ++stopped; };
    output->whileTaking = [&] {
        asio::co_spawn(io, stream->stop(), noteStop);
        io.poll();
        asio::co_spawn(io, stream->stop(), noteStop);
        asio::co_spawn(io, stream->updateFilter({}, {"b"}), asio::detached);
        stream->setWanted(false);
        io.poll();
        EXPECT_EQ(stopped, 0);
    };
    start();

    EXPECT_EQ(stopped, 2);
    EXPECT_THAT(output->times, SizeIs(1));
}

TEST_F(PacedStream, deliversNothingThatIsBeingTakenWhenItIsStopped)
{
    bool isStopped = false;
    source.whileTaking = [&] {
        asio::co_spawn(io, stream->stop(), [&](std::exception_ptr) { isStopped = true; });
        io.poll();
        EXPECT_FALSE(isStopped);
    };
    start();

    EXPECT_TRUE(isStopped);
    clock.advance(10s);
    EXPECT_THAT(output->times, IsEmpty());
    EXPECT_THAT(output->stops, IsEmpty());
    EXPECT_EQ(changes.open, 0);
}

TEST_F(PacedStream, endsWithItsObjectAndWithItsOutput)
{
    changes.isChanged = true;
    start();
    stream.reset();
    clock.advance(1s);
    EXPECT_THAT(output->times, SizeIs(1));
    EXPECT_EQ(changes.open, 0);

    start();
    std::size_t const taken = source.requests.size();
    output.reset();
    clock.advance(10s);
    EXPECT_LE(source.requests.size(), taken + 1);
    EXPECT_EQ(changes.open, 0);
}

} // namespace
} // namespace zelvo
