#pragma once

#include "base/Clock.h"
#include "wire/EnumText.h"

#include <cstdint>
#include <optional>
#include <string>

namespace zelvo::service {

/// How far a film has come.
enum class RecordingStage {
    open,      ///< its upload address waits for a body
    receiving, ///< the body is coming
    received,  ///< it lies here whole, and its machine has not said that it is complete
    ready,     ///< it can be watched
    deleted,   ///< it was ready once
    ended,     ///< it never became ready
};

/// A film that a machine announced.
struct StoredRecording {
    std::string id;
    std::string connectionId; ///< whose agent was filmed
    RecordingStage stage = RecordingStage::open;
    std::uint64_t sizeBytes = 0;
    double durationSec = 0;
    Date createdAt;
    Date deletesAt;
    Date uploadUntil; ///< the body must have begun to come by then
};

/// Which films are asked for: the newest first.
struct RecordingQuery {
    std::optional<std::string> connectionId = {};
    std::optional<std::string> before = {}; ///< a film; those that came before it
    std::size_t limit = 100;
};

/// What films take up.
struct RecordingUse {
    std::uint64_t bytes = 0;    ///< of all that are here, come or may come
    std::uint64_t promised = 0; ///< of those whose body has not begun to come
};

} // namespace zelvo::service

namespace zelvo {

template <>
struct EnumTexts<service::RecordingStage> {
    static constexpr std::array<std::string_view, 6> texts = {"open",  "receiving", "received",
                                                              "ready", "deleted",   "ended"};
};

} // namespace zelvo
