#include "Check.h"
#include "confirm/ConfirmationPolicy.h"
#include "gateway/LinkOffer.h"
#include "recording/RecordingService.h"
#include "recording/RecordingUploadOutcome.h"
#include "recording/RecordingUploadQueue.h"
#include "state/ActivityLog.h"
#include "state/AvailabilityChange.h"
#include "state/ComputerAgents.h"
#include "state/GrantedConnection.h"
#include "state/QueueWording.h"
#include "state/StoredList.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

using namespace zelvo;

/// Content of a settings file: what can be read can be written and reads back equal.
void readAsStored(std::string_view bytes)
{
    if (auto const connections = decodeConnections(bytes))
        check(decodeConnections(encodeConnections(*connections)) == connections);
    if (auto const changes = stored::decodeList<AvailabilityChange>(bytes))
        check(stored::decodeList<AvailabilityChange>(stored::encodeList(*changes)) == changes);
    if (auto const waiting = RecordingUploadQueue::decode(bytes)) {
        auto const written = RecordingUploadQueue::encode(*waiting);
        check(written && RecordingUploadQueue::decode(*written) == waiting);
    }
    auto const log = ActivityLog::decoded(bytes);
    check(ActivityLog::decoded(log.encoded()).entries() == log.entries());
}

/// Gateway messages about links, policies, live agents and queued commands.
void readAsAnswer(json::value const& value)
{
    if (auto const policy = ConfirmationPolicy::fromJson(value))
        check(ConfirmationPolicy::fromJson(policy->toJson()) == policy);
    if (!value.is_object())
        return;
    auto const offer = LinkOffer::from(value.get_object(), "token");
    check(offer.token == "token" && offer == LinkOffer::from(value.get_object(), "token"));
    auto const agents = ComputerAgents::parse(value.get_object(), Date{});
    check(agents == ComputerAgents::parse(value.get_object(), Date{}));
    if (auto const waiting = QueuedCommandsOffer::parse(value.get_object())) {
        auto const list = QueueWording::list(*waiting);
        constexpr std::ptrdiff_t maxLineEnds = 8;
        check(!waiting->connectionId.empty() && std::ranges::count(list, '\n') <= maxLineEnds);
        check(std::ranges::count(waiting->ids(), std::string()) == 0);
    }
}

/// Gateway responses about recordings.
void readAsRecordingReply(std::string_view bytes)
{
    RecordingReply const reply = RecordingReply::from({.status = 503, .body = std::string(bytes)});
    if (auto const target = RecordingUploadTarget::from(reply))
        check(target->uploadUrl.find_first_of(std::string_view("\r\n\0 ", 4)) == std::string::npos);
    auto const outcome = RecordingUploadOutcome::classify(reply.status, reply.code());
    check(outcome.kind != RecordingUploadOutcome::Kind::done);
    constexpr std::size_t maxBytes = 10'000;
    std::string const shown = explain(reply.code().value_or(""));
    check(shown.find('\n') == std::string::npos && shown.size() < maxBytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view const bytes(reinterpret_cast<char const*>(data), size);
    readAsStored(bytes);
    readAsRecordingReply(bytes);
    if (auto const value = parseJson(bytes))
        readAsAnswer(*value);
    return 0;
}
