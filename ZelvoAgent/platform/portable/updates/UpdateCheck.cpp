#include "platform/portable/updates/UpdateCheck.h"

#include "base/DelayedCall.h"
#include "base/Hop.h"
#include "base/LocalizedTexts.h"
#include "base/Versions.h"
#include "platform/portable/files/FileBytes.h"
#include "platform/portable/files/Files.h"
#include "platform/portable/updates/ArchiveUnpacking.h"
#include "platform/portable/updates/UpdateDownload.h"
#include "platform/portable/updates/UpdateFailures.h"
#include "platform/portable/updates/UpdateRecord.h"
#include "wire/Json.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <utility>

namespace zelvo {

namespace {

constexpr Duration maxFeedTime = 1min;
constexpr Duration maxStartTime = 20s;

UpdateKey keyIn(InformationDictionary const& information)
{
    auto key = UpdateKey::fromBase64(information.text("SUPublicEDKey").value_or(""));
    if (!key)
        throw updateFailure("update.error.key");
    return *std::move(key);
}

} // namespace

UpdateCheck::UpdateCheck(std::shared_ptr<ArchiveUpdates::Parts> given, Report report)
    : parts(std::move(given)), services(parts->services), folder(parts->folder), report(std::move(report)),
      address(services.information.text("SUFeedURL").value_or("")), key(keyIn(services.information))
{
    if (!address.starts_with("https://"))
        throw updateFailure("update.error.address");
}

Task<UpdateFeed> UpdateCheck::look(std::string newerThan)
{
    report({.phase = UpdateProgress::Phase::checking});
    UpdateFeed feed = co_await loadFeed();
    co_await on(services.contexts.workers, [&] { assertOffered(feed, newerThan); });
    co_return feed;
}

Task<PreparedUpdate> UpdateCheck::prepare(UpdateFeed feed, std::optional<PreparedUpdate> earlier)
{
    PreparedUpdate prepared{.item = {.displayVersion = feed.version, .notes = feed.notes}, .lock = {}};
    auto const take = [&] {
        folder.assertExchangeable();
        return earlier ? std::move(earlier->lock) : folder.assertLocked();
    };
    prepared.lock = co_await on(services.contexts.workers, take);
    co_await fetch(feed.archive, prepared.item);
    co_await assertStarts(feed.version);
    co_return prepared;
}

Task<UpdateFeed> UpdateCheck::loadFeed()
{
    HttpRequest request;
    request.url = address;
    request.longest = maxFeedTime;
    HttpResponse const response = co_await services.http.load(std::move(request));
    constexpr int success = 200;
    if (response.status != success)
        throw UpdateAbort{.description = localized("update.error.status", {std::int64_t(response.status)})};
    co_return readFeed(response.body, key, services.target);
}

/// A feed with an older version than an earlier one is a replay: it offers nothing.
void UpdateCheck::assertOffered(UpdateFeed const& feed, std::string const& newerThan)
{
    UpdateRecord const record = parts->records.read();
    bool const isOffered = isVersionBelow(newerThan, feed.version) &&
                           !isVersionBelow(feed.version, record.newest) &&
                           (record.rejected.empty() || isVersionBelow(record.rejected, feed.version));
    if (!isOffered) {
        UpdateDownload::removeAll(services.records);
        throw UpdateAbort{.code = UpdateAbort::nothingFound, .description = localized("update.none")};
    }
    if (!parts->records.change([&](UpdateRecord& changed) { changed.newest = feed.version; }))
        throw updateDiskFailure();
}

Task<> UpdateCheck::fetch(UpdateArchive archive, UpdateItem item)
{
    UpdateProgress progress{
        .phase = UpdateProgress::Phase::downloading, .item = std::move(item), .totalBytes = archive.bytes};
    report(progress);
    UpdateDownload const download(services.records, std::move(archive));
    auto const count = [report = report, progress](std::int64_t received) mutable {
        // Often: what nobody can see is not worth a turn of the main thread.
        if (received - progress.receivedBytes < progress.totalBytes / 200 && received != progress.totalBytes)
            return true;
        progress.receivedBytes = received;
        report(progress);
        return true;
    };
    co_await download.receive(services.http, count);
    auto const unpack = [&] {
        UniqueFd const file = download.verified(key);
        folder.makeStandby();
        unpackArchive(file.get(), folder.standby());
        if (folder.standbyVersion() != progress.item.displayVersion)
            throw updateFailure("update.error.archive");
        keepAddresses();
    };
    co_await on(services.contexts.workers, unpack);
}

/// An update never leads the agent, and the token that it shows, to another gateway.
void UpdateCheck::keepAddresses() const
{
    constexpr std::size_t maxInformation = std::size_t{1} << 20;
    std::filesystem::path const file = folder.standby() / "Info.json";
    auto const found = files::read(file, maxInformation);
    auto information = found ? parseJson(found->content) : std::nullopt;
    if (!information || !information->is_object())
        throw updateFailure("update.error.archive");
    for (char const* const name : {"ZelvoGatewayURL", "ZelvoConsoleURL"})
        if (auto const present = services.information.text(name))
            information->as_object()[name] = *present;
    // In place: nobody reads the standby folder yet, and a temporary file could stay in it.
    UniqueFd const written(::open(file.c_str(), O_WRONLY | O_TRUNC | O_NOFOLLOW | O_CLOEXEC));
    if (!written || !files::writeAll(written.get(), writeJson(*information)) || ::fsync(written.get()) != 0)
        throw updateDiskFailure();
}

/// Without a display the program says so and ends with 1. What lacks a library here, or is for another
/// processor, does not get that far.
Task<> UpdateCheck::assertStarts(std::string version)
{
    ChildLaunch launch{.executable = folder.standbyProgram().string(),
                       .environment = {{"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}}};
    std::optional<std::int32_t> status;
    try {
        auto const child = co_await services.children.launch(std::move(launch));
        DelayedCall limit(services.contexts.agent, services.clock);
        limit.in(maxStartTime, [&child] { child->signal(GroupSignal::kill); });
        status = co_await child->exit();
    } catch (LaunchFailure const&) { // NOLINT(bugprone-empty-catch): `status` stays empty, which fails below.
    }
    if (status != EXIT_FAILURE)
        throw UpdateAbort{.description = localized("update.error.start", {version})};
}

} // namespace zelvo
