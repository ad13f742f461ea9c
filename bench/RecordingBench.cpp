// Workload: a private desktop of 1920x1080 is recorded at 8 frames per second, for a minute without changes
// and for 20 seconds with a terminal that fills it with text ten times per second: by our stream and
// recording in this process, and by ffmpeg, which grabs the same screen with the same encoder, preset, rate
// and bit rate. Measures processor time, of the program alone and of the X server. Then the memory that half
// an hour of recording adds, and the time of a click and of "screenshot" with the real agent program on such
// a busy screen, with and without a recording.

#include "AgentStage.h"
#include "ProcessorTime.h"
#include "RatioTable.h"
#include "desktop/harness/Painter.h"
#include "desktop/x11/CaptureDesktop.h"
#include "platform/linux/x11/capture/X11ScreenStreams.h"
#include "platform/portable/video/LibavVideoFiles.h"

#include <boost/asio/strand.hpp>

#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>

namespace zelvo {
namespace {

using Seconds = std::chrono::duration<double>;

constexpr int width = 1920;
constexpr int height = 1080;
constexpr int rate = 8;
constexpr std::int64_t bitRate = std::int64_t{width} * height * rate / 10;
constexpr std::chrono::seconds restLength{60};
constexpr std::chrono::seconds busyLength{20};

/// Fills the screen with new text ten times per second.
std::vector<std::string> const flood = {
    "xterm",     "-fn",        "fixed",
    "-geometry", "320x83+0+0", "-e",
    "sh",        "-c",         "while :; do head -c 12000 /dev/urandom | base64 -w 300; sleep 0.1; done"};

double secondsIn(timeval const& time)
{
    return double(time.tv_sec) + double(time.tv_usec) / 1e6;
}

/// Processor time used so far, in seconds.
/// whose  RUSAGE_SELF, or RUSAGE_CHILDREN for ended children
double used(int whose)
{
    rusage usage{};
    ::getrusage(whose, &usage);
    return secondsIn(usage.ru_utime) + secondsIn(usage.ru_stime);
}

double residentMegabytes()
{
    std::ifstream file("/proc/self/statm");
    double total = 0;
    double resident = 0;
    file >> total >> resident;
    return resident * 4096 / 1e6;
}

/// Records the frames of a stream.
class RecordingOutput final : public ScreenStreamOutput {
public:
    explicit RecordingOutput(std::filesystem::path const& path)
        : file(LibavVideoFiles().create({.file = path,
                                         .width = width,
                                         .height = height,
                                         .averageBitRate = bitRate,
                                         .expectedFrameRate = rate,
                                         .maxKeyFrameInterval = rate * 10}))
    {
    }

    void frameArrived(ScreenFrame const& frame) override
    {
        if (frames++ == 0)
            first = frame.time;
        if (!file->append(*frame.picture, frame.time - first))
            isBroken = true;
    }
    void streamStopped(ScreenFailure const&) override { isBroken = true; }

    std::unique_ptr<VideoFile> file;
    Instant first{};
    int frames = 0;
    bool isBroken = false;
};

struct Stage {
    Stage()
    {
        screen.desktopCorner = {width - 10, height - 10};
        test::Painter painter(screen.desktop.display());
        painter.paintRoot(0x336699);
        ucred peer{};
        socklen_t size = sizeof peer;
        ::getsockopt(xcb_get_file_descriptor(painter.x()), SOL_SOCKET, SO_PEERCRED, &peer, &size);
        server = peer.pid;
        screen.settledScreen();
    }

    void beBusy()
    {
        if (terminal)
            return;
        terminal = screen.desktop.start(flood);
        screen.desktop.waitForWindow({.className = "XTerm"});
    }
    void beAtRest()
    {
        if (!terminal)
            return;
        screen.desktop.processes().end(terminal, SIGKILL);
        terminal = 0;
        screen.settledScreen();
    }

    test::CaptureDesktop screen{test::DesktopOptions{.width = width, .height = height, .sessionBus = false}};
    X11ScreenStreams streams{screen.live.contexts(), screen.clock, *screen.source};
    Executor queue = asio::make_strand(screen.live.contexts().workers);
    pid_t server = 0;
    pid_t terminal = 0;
    int number = 0;

    std::filesystem::path nextFile()
    {
        return screen.desktop.home() / ("recording" + std::to_string(++number) + ".mp4");
    }
};

std::unique_ptr<Stage> stage;

/// A running recording of the whole screen.
class Recording {
public:
    Recording() : output(std::make_shared<RecordingOutput>(stage->nextFile()))
    {
        ScreenStreamRequest request{.picture = {.display = stage->screen.layout->current().displayId,
                                                .width = width,
                                                .height = height},
                                    .minimumFrameInterval = std::chrono::milliseconds(1000 / rate)};
        stream = stage->screen.live.run(stage->streams.open(std::move(request), stage->queue, output));
    }

    /// True if everything succeeded.
    bool finish(Duration lasted)
    {
        stage->screen.live.run(stream->stop());
        return output->file->finish(lasted) && !output->isBroken && output->frames > 0;
    }
    int frames() const { return output->frames; }

private:
    std::shared_ptr<RecordingOutput> output;
    std::unique_ptr<ScreenStream> stream;
};

void reportServer(benchmark::State& state, double before)
{
    state.counters["X server, s"] = processorTime(stage->server) - before;
}

void ours(benchmark::State& state, std::chrono::seconds length)
{
    for (auto _ : state) {
        double const server = processorTime(stage->server);
        double const before = used(RUSAGE_SELF);
        Recording recording;
        std::this_thread::sleep_for(length);
        if (!recording.finish(length))
            state.SkipWithError("no recording");
        state.SetIterationTime(used(RUSAGE_SELF) - before);
        state.counters["frames"] = recording.frames();
        reportServer(state, server);
    }
}

void ffmpegs(benchmark::State& state,
             std::chrono::seconds length,
             std::vector<std::string> const& further = {})
{
    std::vector<std::string> command = {"ffmpeg",
                                        "-loglevel",
                                        "error",
                                        "-f",
                                        "x11grab",
                                        "-framerate",
                                        std::to_string(rate),
                                        "-video_size",
                                        std::to_string(width) + "x" + std::to_string(height),
                                        "-i",
                                        stage->screen.desktop.display(),
                                        "-t",
                                        std::to_string(length.count()),
                                        "-c:v",
                                        "libx264",
                                        "-preset",
                                        "superfast",
                                        "-profile:v",
                                        "high",
                                        "-pix_fmt",
                                        "yuv420p",
                                        "-b:v",
                                        std::to_string(bitRate),
                                        "-g",
                                        std::to_string(rate * 10),
                                        "-bf",
                                        "0",
                                        "-x264-params",
                                        "scenecut=0",
                                        "-movflags",
                                        "+faststart"};
    command.insert(command.end(), further.begin(), further.end());
    for (auto _ : state) {
        double const server = processorTime(stage->server);
        double const before = used(RUSAGE_CHILDREN);
        auto whole = command;
        whole.push_back(stage->nextFile().string());
        stage->screen.desktop.run(whole, int(length.count()) * 3);
        state.SetIterationTime(used(RUSAGE_CHILDREN) - before);
        reportServer(state, server);
    }
}

void restOurs(benchmark::State& state)
{
    stage->beAtRest();
    ours(state, restLength);
}

void restFfmpeg(benchmark::State& state)
{
    stage->beAtRest();
    ffmpegs(state, restLength);
}

void busyOurs(benchmark::State& state)
{
    stage->beBusy();
    ours(state, busyLength);
}

void busyFfmpeg(benchmark::State& state)
{
    stage->beBusy();
    ffmpegs(state, busyLength);
}

void busyFfmpegOneThread(benchmark::State& state)
{
    stage->beBusy();
    ffmpegs(state, busyLength, {"-threads", "1"});
}

/// The real agent program on an equally busy separate screen, with or without recording.
class Agent {
public:
    explicit Agent(std::string const& mode)
    {
        stage.store("zelvo.recording.mode", json::string(mode));
        stage.run(flood);
        stage.start();
        // The first action starts the recording; its first second is not measured.
        click();
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }

    /// Alternates between two places: a second click at the same place waits until it can't be a double
    /// click.
    void click()
    {
        isLeft = !isLeft;
        ask(isLeft ? R"({"actions":[{"type":"click","x":100,"y":1050}]})"
                   : R"({"actions":[{"type":"click","x":1800,"y":1050}]})",
            "actions.perform");
    }
    void screenshot() { ask(R"({"format":"jpeg","quality":80})", "screenshot"); }
    bool hasRecording() const
    {
        std::filesystem::path const recordings = stage.home() / "Videos" / "Zelvo";
        return std::filesystem::exists(recordings) && !std::filesystem::is_empty(recordings);
    }

private:
    void ask(std::string const& params, std::string const& method)
    {
        if (stage.ask(commandFrame(method, params)).find("\"result\"") == std::string_view::npos)
            throw std::runtime_error("no result of " + method);
    }

    AgentStage stage{width, height};
    bool isLeft = false;
};

std::unique_ptr<Agent> agent; ///< of the running benchmarks

void startAgent(std::string const& mode)
{
    stage->beAtRest();
    agent.reset();
    agent = std::make_unique<Agent>(mode);
}

/// Commands at times unrelated to the recording's frames.
void commands(benchmark::State& state, void (Agent::*command)())
{
    double longest = 0;
    int number = 0;
    for (auto _ : state) {
        if (number % 50 == 0)
            agent->click(); // Ten seconds without an action would pause the recording.
        std::this_thread::sleep_for(std::chrono::milliseconds(17 + number++ * 7 % 31));
        auto const begin = std::chrono::steady_clock::now();
        ((*agent).*command)();
        double const lasted = Seconds(std::chrono::steady_clock::now() - begin).count();
        longest = std::max(longest, lasted);
        state.SetIterationTime(lasted);
    }
    state.counters["longest, ms"] = longest * 1e3;
}

void clickAlone(benchmark::State& state)
{
    startAgent("off");
    commands(state, &Agent::click);
}

void screenshotAlone(benchmark::State& state)
{
    commands(state, &Agent::screenshot);
    if (agent->hasRecording())
        state.SkipWithError("a recording, though none was wanted");
}

void clickWhileRecording(benchmark::State& state)
{
    startAgent("local");
    commands(state, &Agent::click);
}

void screenshotWhileRecording(benchmark::State& state)
{
    commands(state, &Agent::screenshot);
    if (!agent->hasRecording())
        state.SkipWithError("no recording");
    agent.reset();
}

double grownMegabytes = 0;

/// Half an hour of a constantly changing screen, as fast as it can be encoded.
void halfAnHour(benchmark::State& state)
{
    stage->beBusy();
    constexpr int minute = 60 * rate;
    for (auto _ : state) {
        RecordingOutput recording(stage->nextFile());
        Picture const one = stage->screen.take();
        double before = 0;
        for (int frame = 0; frame < 30 * minute; ++frame) {
            if (frame == minute)
                before = residentMegabytes();
            Duration const time = frame * Duration(std::chrono::seconds(1)) / rate;
            if (!(frame % 40 ? recording.file->repeat(time) : recording.file->append(one, time)))
                state.SkipWithError("no recording");
        }
        grownMegabytes = residentMegabytes() - before;
        if (!recording.file->finish(std::chrono::minutes(30)))
            state.SkipWithError("no recording");
    }
}

BENCHMARK(restOurs)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(restFfmpeg)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(busyOurs)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(busyFfmpeg)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(busyFfmpegOneThread)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(halfAnHour)->Iterations(1)->Unit(benchmark::kMillisecond);
// In this order: each pair shares an agent.
BENCHMARK(clickAlone)->UseManualTime()->Iterations(200)->Unit(benchmark::kMillisecond);
BENCHMARK(screenshotAlone)->UseManualTime()->Iterations(200)->Unit(benchmark::kMillisecond);
BENCHMARK(clickWhileRecording)->UseManualTime()->Iterations(200)->Unit(benchmark::kMillisecond);
BENCHMARK(screenshotWhileRecording)->UseManualTime()->Iterations(200)->Unit(benchmark::kMillisecond);

Ratio row(std::string what, std::string against, std::string ours, std::string theirs, double atMost)
{
    auto const timeOf = [](std::string name) {
        return [name = std::move(name)](Times const& times) { return times.at(name); };
    };
    return {.what = std::move(what),
            .against = std::move(against),
            .measured = timeOf(std::move(ours)),
            .baseline = timeOf(std::move(theirs)),
            .atMost = atMost};
}

} // namespace
} // namespace zelvo

int main(int count, char** arguments)
{
    using namespace zelvo;
    stage = std::make_unique<Stage>();
    Ratio const memory{.what = "memory from minute 1 to 30",
                       .against = "limit",
                       .measured =
                           [](Times const& times) {
                               static_cast<void>(times.at("halfAnHour"));
                               return grownMegabytes;
                           },
                       .baseline = [](Times const&) { return 4.0; },
                       .atMost = 1,
                       .unit = "MB"};
    int const result = runWithRatios(
        count, arguments,
        {row("a minute of a screen at rest", "ffmpeg", "restOurs", "restFfmpeg", 0.1),
         row("20 s of a busy screen", "ffmpeg", "busyOurs", "busyFfmpeg", 0.9),
         row("20 s of a busy screen", "ffmpeg on one thread", "busyOurs", "busyFfmpegOneThread", 0),
         row("a click while a recording is made", "a click alone", "clickWhileRecording", "clickAlone", 0),
         row("\"screenshot\" while a recording is made", "\"screenshot\" alone", "screenshotWhileRecording",
             "screenshotAlone", 0),
         memory});
    agent.reset();
    stage.reset();
    return result;
}
