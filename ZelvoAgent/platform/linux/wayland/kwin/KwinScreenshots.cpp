#include "platform/linux/wayland/kwin/KwinScreenshots.h"

#include "base/AsyncCondition.h"
#include "base/Hop.h"
#include "platform/portable/files/UniqueFd.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <memory>
#include <utility>

namespace zelvo {

namespace {

constexpr auto patience = std::chrono::seconds(3);
constexpr int pipeSize = 1 << 20;

/// A shot on its way: the header arrives by the bus, the pixels by the pipe.
struct OpenShot {
    KwinShot shot;
    UniqueFd reading;
    UniqueFd writing;
    std::optional<BusDictionary> reply;
    std::string failure;
};

struct Batch {
    std::vector<OpenShot> shots; // the agent's, until `open` is 0
    AsyncCondition answered;
    std::size_t open = 0; // answered
};

void openPipe(OpenShot& open)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return;
    open.reading = UniqueFd(ends[0]);
    open.writing = UniqueFd(ends[1]);
    ::fcntl(ends[0], F_SETPIPE_SZ, pipeSize); // Fewer wake-ups; the usual 64 KiB do too.
    ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
}

void appendOption(sd_bus_message* message, char const* name, bool value)
{
    sd_bus_message_append(message, "{sv}", name, "b", value ? 1 : 0);
}

void appendArguments(sd_bus_message* message, OpenShot& open)
{
    KwinShot const& shot = open.shot;
    sd_bus_message_append(message, "s", (shot.window.empty() ? shot.monitor : shot.window).c_str());
    sd_bus_message_open_container(message, 'a', "{sv}");
    appendOption(message, "native-resolution", true);
    appendOption(message, "include-cursor", shot.hasPointer);
    appendOption(message, "include-decoration", shot.hasDecoration);
    appendOption(message, "include-shadow", false);
    appendOption(message, "hide-caller-windows", false);
    sd_bus_message_close_container(message);
    sd_bus_message_append(message, "h", open.writing.get());
    open.writing.reset(); // The message has a copy. With KWin's the last one ends, and so does the pipe.
}

BusCall callFor(OpenShot& open)
{
    return {.destination = "org.kde.KWin",
            .path = "/org/kde/KWin/ScreenShot2",
            .interface = "org.kde.KWin.ScreenShot2",
            .member = open.shot.window.empty() ? "CaptureScreen" : "CaptureWindow",
            .arguments = [&open](sd_bus_message* message) { appendArguments(message, open); },
            .patience = patience,
            .mayStart = false};
}

// The caller owns both and waits for the end.
Task<> ask(BusConnection& session, // NOLINT(cppcoreguidelines-avoid-reference-coroutine-parameters)
           OpenShot& open)         // NOLINT(cppcoreguidelines-avoid-reference-coroutine-parameters)
{
    auto const keep = [&open](sd_bus_message* reply) { open.reply = readDictionary(reply); };
    try {
        co_await session.call(callFor(open), keep);
    } catch (BusFailure const& failure) {
        open.failure = failure.name;
    }
    open.writing.reset();
}

/// Pixels that arrive through a pipe.
struct Incoming {
    OpenShot* shot = nullptr;
    KwinImageHeader header;
    PixelBuffer bytes;
    std::size_t got = 0;

    bool isComplete() const { return got == bytes.size(); }
    bool isOver() const { return isComplete() || shot->reading.get() < 0; }
    /// Reads what is there. The pipe is closed when it ends too early.
    void read()
    {
        auto const count = ::read(shot->reading.get(), bytes.data() + got, bytes.size() - got);
        if (count > 0)
            got += static_cast<std::size_t>(count);
        else if (count == 0 || (errno != EAGAIN && errno != EINTR))
            shot->reading.reset();
    }
};

std::vector<Incoming> incomingOf(Batch& batch)
{
    std::vector<Incoming> all;
    for (OpenShot& open : batch.shots)
        if (auto const header = open.reply ? kwinImageHeader(*open.reply) : std::nullopt)
            all.push_back({.shot = &open, .header = *header, .bytes = PixelBuffer(header->size())});
    return all;
}

/// Reads all pipes at once: KWin's few threads for writing are stuck while a pipe is full, so in any fixed
/// order one could wait for another.
void readAll(std::vector<Incoming>& all)
{
    auto const end = std::chrono::steady_clock::now() + patience;
    for (;;) {
        std::vector<pollfd> waiting;
        std::vector<Incoming*> open;
        for (Incoming& one : all)
            if (!one.isOver()) {
                waiting.push_back({.fd = one.shot->reading.get(), .events = POLLIN, .revents = 0});
                open.push_back(&one);
            }
        auto const left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (open.empty() || left.count() <= 0 ||
            ::poll(waiting.data(), waiting.size(), static_cast<int>(left.count())) <= 0)
            return;
        for (std::size_t at = 0; at < open.size(); ++at)
            if (waiting[at].revents)
                open[at]->read();
    }
}

std::vector<KwinShotResult> readResults(Batch& batch)
{
    std::vector<Incoming> all = incomingOf(batch);
    readAll(all);
    std::vector<KwinShotResult> results;
    for (OpenShot& open : batch.shots) {
        auto const found = std::ranges::find(all, &open, &Incoming::shot);
        if (found != all.end() && found->isComplete())
            results.push_back({.image = kwinImage(found->header, std::move(found->bytes))});
        else if (!open.reply)
            results.push_back({.failure = {open.failure}});
        else
            results.push_back({.failure = {"the pixels did not arrive, or in an unknown form"}});
    }
    return results;
}

} // namespace

bool KwinShotFailure::isForbidden() const
{
    return reason == "org.kde.KWin.ScreenShot2.Error.NoAuthorized";
}

Task<std::vector<KwinShotResult>> KwinScreenshots::take(std::vector<KwinShot> shots)
{
    auto const batch = std::make_shared<Batch>();
    batch->open = shots.size();
    batch->shots.resize(shots.size());
    for (std::size_t at = 0; at < shots.size(); ++at) {
        batch->shots[at].shot = std::move(shots[at]);
        openPipe(batch->shots[at]);
    }
    for (OpenShot& open : batch->shots)
        spawn(contexts.agent, [batch, &open, &bus = session]() -> Task<> {
            co_await ask(bus, open);
            batch->answered.notifyAll([&] { --batch->open; });
        });
    while (batch->answered.with([&] { return batch->open; }) > 0)
        co_await batch->answered.wait([&] { return batch->open == 0; });
    auto const read = [&batch] { return readResults(*batch); };
    co_return co_await on(contexts.workers, read);
}

Task<bool> KwinScreenshots::isAllowed()
{
    // KWin checks the right first, and only then that there is no such window.
    std::vector<KwinShot> shots{{.window = "{00000000-0000-0000-0000-000000000000}"}};
    auto const results = co_await take(std::move(shots));
    std::string const& reason = results.at(0).failure.reason;
    co_return reason == "org.kde.KWin.ScreenShot2.Error.InvalidWindow" || results[0].image.has_value();
}

} // namespace zelvo
