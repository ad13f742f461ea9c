#pragma once

#include "ZelvoGateway/base/Caller.h"
#include "base/Clock.h"
#include "wire/EnumText.h"

#include <cstdint>
#include <optional>
#include <string>

namespace zelvo::service {

/// How far a recording has come.
enum class RecordingStage {
    open,      ///< announced; its upload may begin
    receiving, ///< its upload is running
    received,  ///< its file is whole, but its machine has not completed it
    ready,     ///< it can be watched
    deleted,   ///< it was ready once
    ended,     ///< it never became ready
};

/// A recording that a machine announced.
struct StoredRecording {
    std::string id;
    std::string connectionId;
    RecordingStage stage = RecordingStage::open;
    std::uint64_t sizeBytes = 0;
    double durationSec = 0;
    Date createdAt;
    Date deletesAt;
    Date uploadUntil; ///< the upload must begin before
};

/// Which recordings are asked for, newest first.
struct RecordingQuery {
    std::optional<std::string> connectionId = {};
    std::optional<std::string> before = {}; ///< a recording; only older ones
    std::size_t limit = 100;
    Reach reach = {.all = true}; ///< only recordings of these connections
};

/// How much recordings take up.
struct RecordingUse {
    std::uint64_t bytes = 0;    ///< stored, being uploaded, or announced
    std::uint64_t promised = 0; ///< of those, announced only
};

} // namespace zelvo::service

namespace zelvo {

template <>
struct EnumTexts<service::RecordingStage> {
    static constexpr std::array<std::string_view, 6> texts = {"open",  "receiving", "received",
                                                              "ready", "deleted",   "ended"};
};

} // namespace zelvo
