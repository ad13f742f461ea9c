#pragma once

#include "platform/Updates.h"

#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

/// What the person reads about updates, in their language.
struct UpdateStatus {
    enum class Kind {
        idle, ///< nothing is known yet
        checking,
        newest,
        failed,
        downloading,
        ready
    };

    /// What of the notes is shown at most, in characters.
    static constexpr std::size_t maxNotes = 20'000;

    Kind kind = Kind::idle;
    std::string title;
    std::string detail; ///< may be empty
    std::string notes;  ///< what is new: foreign lines of plain text; may be empty
    std::string amount; ///< how much of a download is there; may be empty
    /// Of a download, from 0 to 1; `nullopt` while that is unknown.
    std::optional<double> fraction;

    /// progress, abort  the updater's
    /// ownVersion       of the running program
    static UpdateStatus of(UpdateProgress const& progress,
                           std::optional<UpdateAbort> const& abort,
                           std::string const& ownVersion);

    bool isBusy() const { return kind == Kind::checking || kind == Kind::downloading; }
    /// Whether the two differ in the amount at most.
    bool isLike(UpdateStatus const& other) const;
};

/// A new version's number as a person sees it.
std::string shownVersion(UpdateItem const& item);

} // namespace zelvo
