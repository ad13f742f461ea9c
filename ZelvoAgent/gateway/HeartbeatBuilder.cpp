#include "gateway/HeartbeatBuilder.h"

#include "base/Text.h"
#include "wire/records/Heartbeat.h"

namespace zelvo {

namespace {

constexpr std::size_t maxComputerNameLength = 128;
constexpr double gibibyte = 1024.0 * 1024.0 * 1024.0;
constexpr int mebibyteBits = 20;

} // namespace

HeartbeatBuilder::HeartbeatBuilder(Services services) : services(std::move(services)) {}

Task<std::optional<json::object>> HeartbeatBuilder::current()
{
    Permissions const permissions = services.access.current();
    StateMirror const state = services.state();
    std::int64_t const hiddenCount = co_await hiddenAppCount();
    double const freeBytes = static_cast<double>(services.facts.freeDiskBytes().value_or(0));
    std::uint64_t const residentBytes = services.facts.residentBytes().value_or(0);

    records::Heartbeat record;
    record.appVersion = appVersion();
    record.computerName = computerName();
    record.macosVersion = macosVersion();
    record.mode = mode.get();
    record.permissions = permissions;
    record.paused = state.paused;
    record.availability = state.availability;
    record.hiddenAppCount = hiddenCount;
    if (auto const snapshot = displayBox.get())
        record.display = snapshot->toRecord();
    record.diskFreeGb = freeBytes / gibibyte;
    record.memUsedMb = static_cast<std::int64_t>(residentBytes >> mebibyteBits);
    record.grantedConnectionIds = state.grantedConnectionIds;
    record.recording = fromRawValue<records::RecordingEnum>(services.recordingMode());
    record.features = {"connection_names", "agents"};
    co_return records::toJson(std::move(record));
}

Task<std::int64_t> HeartbeatBuilder::hiddenAppCount() const
{
    HiddenAppsStore* const store = hiddenApps.get();
    if (!store)
        co_return 0;
    co_return static_cast<std::int64_t>(co_await store->count());
}

void HeartbeatBuilder::refreshDisplay()
{
    std::vector<Display> const screens = services.screen.screens();
    if (screens.empty())
        displayBox.set(std::nullopt);
    else
        displayBox.set(DisplayGeometry::of(screens.front()));
}

AgentMode HeartbeatBuilder::configuredMode(UserDefaults& defaults)
{
    return defaults.text("ZelvoMode") == "cloud" ? AgentMode::cloud : AgentMode::connected;
}

std::string HeartbeatBuilder::appVersion() const
{
    return services.information.text("CFBundleShortVersionString").value_or("0.0.0");
}

std::string HeartbeatBuilder::computerName() const
{
    std::string const given = services.facts.computerName().value_or("Mac");
    std::string const name = text::trimmed(text::withoutControlCharacters(given));
    return name.empty() ? "Mac" : text::prefix(name, maxComputerNameLength);
}

std::string HeartbeatBuilder::macosVersion() const
{
    return services.facts.osVersion();
}

} // namespace zelvo
