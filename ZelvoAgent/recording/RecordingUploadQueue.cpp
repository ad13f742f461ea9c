#include "recording/RecordingUploadQueue.h"

#include "base/Text.h"
#include "state/StoredList.h"

#include <algorithm>
#include <cmath>

namespace zelvo {

namespace {

constexpr std::string_view key = "zelvo.recording.pendingUploads";

bool canBeEncoded(PendingRecording const& entry)
{
    return std::isfinite(entry.durationSec) && text::isUtf8(entry.path) && text::isUtf8(entry.connectionId);
}

} // namespace

json::object PendingRecording::toJson() const
{
    return {{"path", path},
            {"connectionId", connectionId},
            {"durationSec", plainNumber(durationSec)},
            {"attempts", attempts}};
}

std::optional<PendingRecording> PendingRecording::fromJson(json::value const& stored)
{
    json::object const* const object = stored.if_object();
    if (!object)
        return std::nullopt;
    auto const path = read::text(*object, "path");
    auto const connectionId = read::text(*object, "connectionId");
    auto const durationSec = read::number(*object, "durationSec");
    auto const attempts = read::integer(*object, "attempts");
    if (!path || !connectionId || !durationSec || !attempts)
        return std::nullopt;
    return PendingRecording{*path, *connectionId, *durationSec, *attempts};
}

std::optional<std::vector<PendingRecording>> RecordingUploadQueue::decode(std::string_view bytes)
{
    return stored::decodeList<PendingRecording>(bytes);
}

std::optional<std::string> RecordingUploadQueue::encode(std::vector<PendingRecording> const& entries)
{
    if (!std::ranges::all_of(entries, canBeEncoded))
        return std::nullopt;
    return stored::encodeList(entries);
}

std::vector<PendingRecording> RecordingUploadQueue::load() const
{
    return decode(defaults.bytes(key).value_or("")).value_or(std::vector<PendingRecording>{});
}

bool RecordingUploadQueue::holds(std::string const& path) const
{
    auto const entries = load();
    return std::ranges::find(entries, path, &PendingRecording::path) != entries.end();
}

void RecordingUploadQueue::append(PendingRecording entry)
{
    auto entries = load();
    if (std::ranges::find(entries, entry.path, &PendingRecording::path) != entries.end())
        return;
    entries.push_back(std::move(entry));
    save(entries);
}

void RecordingUploadQueue::remove(std::string const& path)
{
    auto entries = load();
    std::erase_if(entries, [&](PendingRecording const& entry) { return entry.path == path; });
    save(entries);
}

void RecordingUploadQueue::setAttempts(std::string const& path, std::int64_t attempts)
{
    auto entries = load();
    for (PendingRecording& entry : entries)
        if (entry.path == path)
            entry.attempts = attempts;
    save(entries);
}

/// Clears the stored list if an entry cannot be encoded.
void RecordingUploadQueue::save(std::vector<PendingRecording> const& entries)
{
    defaults.setBytes(key, encode(entries).value_or(""));
}

} // namespace zelvo
