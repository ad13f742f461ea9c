#include "platform/linux/wayland/kwin/KwinScreenshots.h"

#include "base/AsyncCondition.h"
#include "base/Hop.h"
#include "platform/portable/files/UniqueFd.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <memory>
#include <utility>

namespace zelvo {

namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

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

Task<> ask(BusConnection& session,
           OpenShot& open) // NOLINT(cppcoreguidelines-avoid-reference-coroutine-parameters)
{
    auto const keep = [&open](sd_bus_message* reply) { open.reply = readDictionary(reply); };
    try {
        co_await session.call(callFor(open), keep);
    } catch (BusFailure const& failure) {
        open.failure = failure.name;
    }
    open.writing.reset();
}

bool waitForBytes(int pipe, SteadyTime end)
{
    auto const left =
        std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
    pollfd waiting{.fd = pipe, .events = POLLIN, .revents = 0};
    return left > 0 && ::poll(&waiting, 1, static_cast<int>(left)) == 1;
}

/// False if the pipe ends early, or if nothing arrives in time.
bool readBytes(int pipe, std::uint8_t* to, std::size_t size, SteadyTime end)
{
    while (size > 0) {
        auto const got = ::read(pipe, to, size);
        if (got > 0) {
            to += got;
            size -= static_cast<std::size_t>(got);
        } else if (got == 0 || (errno != EAGAIN && errno != EINTR) || !waitForBytes(pipe, end)) {
            return false;
        }
    }
    return true;
}

KwinShotResult failed(std::string reason)
{
    return {.failure = {std::move(reason)}};
}

KwinShotResult resultOf(OpenShot& open, SteadyTime end)
{
    if (!open.reply)
        return failed(open.failure);
    auto const header = kwinImageHeader(*open.reply);
    if (!header)
        return failed("the picture has an unknown form");
    PixelBuffer bytes(header->size());
    if (!readBytes(open.reading.get(), bytes.data(), bytes.size(), end))
        return failed("the pixels did not arrive");
    return {.image = kwinImage(*header, std::move(bytes))};
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
    auto const read = [&batch] {
        auto const end = std::chrono::steady_clock::now() + patience;
        std::vector<KwinShotResult> results;
        for (OpenShot& open : batch->shots)
            results.push_back(resultOf(open, end));
        return results;
    };
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
