#pragma once

#include "platform/portable/updates/UpdateKey.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zelvo {

/// The archive of a version for one system.
struct UpdateArchive {
    std::string address; ///< https
    std::int64_t bytes = 0;
    std::string signature; ///< base64; over the archive's bytes
};

/// What the publisher offers: the newest version.
struct UpdateFeed {
    std::string version; ///< up to four numbers with dots between them
    std::string notes;   ///< plain text; may be empty
    UpdateArchive archive;
};

/// For whom a feed is read.
struct UpdateTarget {
    std::string system;       ///< "linux"
    std::string architecture; ///< "x86_64"
    std::string language;     ///< of the notes: "en"

    /// This build, and the language of the texts.
    static UpdateTarget ofThisBuild();
};

/// The longest feed that is read, and the longest archive.
constexpr std::size_t maxFeedBytes = std::size_t{1} << 20;
constexpr std::int64_t maxArchiveBytes = std::int64_t{512} << 20;

/// Reads a feed: {"feed": TEXT, "signature": BASE64}, where TEXT is again JSON. Nothing of TEXT is looked at
/// before its signature is verified. Throws UpdateAbort. docs/releasing.md describes the format.
UpdateFeed readFeed(std::string_view document, UpdateKey const& key, UpdateTarget const& target);

/// The signed text alone. Throws UpdateAbort.
UpdateFeed parseFeed(std::string_view text, UpdateTarget const& target);

} // namespace zelvo
