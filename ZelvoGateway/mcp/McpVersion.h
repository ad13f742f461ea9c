#pragma once

#include "wire/EnumText.h"

namespace zelvo::service {

/// The versions of the Model Context Protocol that the gateway speaks, the oldest first. All but the newest
/// begin with a handshake; in that one every request says for itself what its client is and can do.
enum class McpVersion {
    november2024,
    march2025,
    june2025,
    november2025,
    july2026,
};

/// The versions with a handshake.
constexpr bool isLegacy(McpVersion version)
{
    return version != McpVersion::july2026;
}

/// What a client gets that asks for an unknown version in a handshake.
constexpr McpVersion newestLegacyVersion = McpVersion::november2025;

/// June 2025 abolished batches.
constexpr bool takesBatches(McpVersion version)
{
    return version <= McpVersion::march2025;
}

} // namespace zelvo::service

namespace zelvo {

template <>
struct EnumTexts<service::McpVersion> {
    static constexpr std::array<std::string_view, 5> texts = {"2024-11-05", "2025-03-26", "2025-06-18",
                                                              "2025-11-25", "2026-07-28"};
};

} // namespace zelvo
