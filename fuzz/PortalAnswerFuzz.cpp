#include "Check.h"
#include "FuzzedMessage.h"
#include "desktop/atspi/OfflineBus.h"
#include "platform/linux/wayland/portal/PortalAnswer.h"
#include "platform/linux/wayland/portal/StreamPlaces.h"

namespace {

using namespace zelvo;

constexpr char const* variants[] = {"s", "o", "u", "b", "a(ua{sv})", "a(sa{sv})", "(ii)", "as", "a{sv}", "v"};
constexpr char const* words[] = {"session_handle", "restore_token", "devices",     "clipboard_enabled",
                                 "streams",        "shortcuts",     "position",    "size",
                                 "mapping_id",     "source_type",   "persist_mode"};
constexpr char const* signatures[] = {"ua{sv}", "u", "a{sv}", "us", "ua(ua{sv})"};

MonitorLayout twoMonitors()
{
    MonitorLayout layout;
    for (int at = 0; at < 2; ++at)
        layout.monitors.push_back({.id = 1U + static_cast<unsigned>(at),
                                   .name = "DP",
                                   .area = {1280.0 * at, 0, 1280, 800},
                                   .widthPixels = 1280,
                                   .heightPixels = 800});
    return layout;
}

} // namespace

/// What portals answer: messages of the expected and of other types.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static test::OfflineBus const bus;
    static MonitorLayout const layout = twoMonitors();
    fuzz::FuzzedMessage input({reinterpret_cast<char const*>(data), size}, {variants, words});
    std::string_view const signature = signatures[input.next() % std::size(signatures)];
    auto const message = bus.message([&](sd_bus_message* made) { input.append(made, signature); });
    if (!message)
        return 0;
    PortalAnswer const answer = readPortalAnswer(message.get());
    check(answer.streams.size() <= 32 && answer.shortcuts.size() <= 32);
    check(answer.sessionHandle.size() <= 1024 && answer.restoreToken.size() <= 1024);
    for (PortalStream const& stream : answer.streams)
        check(!stream.size || ((*stream.size)[0] >= 1 && (*stream.size)[1] >= 1));
    auto const places = matchStreams(answer.streams, layout);
    check(places.size() <= answer.streams.size());
    streamPointAt(places, {.x = 640, .y = 400});
    isSessionHandle(answer.sessionHandle);
    return 0;
}
