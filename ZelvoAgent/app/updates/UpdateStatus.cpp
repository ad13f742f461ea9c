#include "app/updates/UpdateStatus.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"

#include <algorithm>
#include <cstdint>

namespace zelvo {

namespace {

using Kind = UpdateStatus::Kind;
using Phase = UpdateProgress::Phase;

constexpr std::size_t maxVersion = 40; // Characters.
constexpr std::size_t maxFailure = 300;
constexpr std::int64_t tenthOfMegabyte = 100'000;

/// The lines of a foreign text, without anything that has an effect instead of a glyph.
std::string plainLines(std::string_view text)
{
    std::string lines;
    while (!text.empty()) {
        std::string_view const line = text.substr(0, text.find('\n'));
        std::string blanks(line);
        std::ranges::replace(blanks, '\t', ' ');
        lines += text::withoutControlCharacters(blanks) + '\n';
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return text::trimmed(lines);
}

std::string shownNotes(std::string const& notes)
{
    std::string const part = text::prefix(notes, UpdateStatus::maxNotes);
    return part.size() < notes.size() ? plainLines(part) + "…" : plainLines(part);
}

UpdateStatus ended(UpdateAbort const& abort, std::string const& ownVersion)
{
    if (abort.code == UpdateAbort::nothingFound)
        return {.kind = Kind::newest,
                .title = localized("update.newest"),
                .detail = localized("main.version", {ownVersion})};
    return {.kind = Kind::failed,
            .title = localized("update.failed"),
            .detail = text::shownInLine(abort.description, maxFailure)};
}

/// Complete bytes are still verified and unpacked.
UpdateStatus downloading(UpdateProgress const& progress)
{
    UpdateStatus status{.kind = Kind::downloading,
                        .title = localized("update.downloading", {shownVersion(progress.item)}),
                        .detail = localized("update.downloading.detail"),
                        .notes = shownNotes(progress.item.notes)};
    std::int64_t const total = std::max<std::int64_t>(progress.totalBytes, 0);
    std::int64_t const received = std::clamp<std::int64_t>(progress.receivedBytes, 0, total);
    if (total > 0 && received == total) {
        status.amount = localized("update.verifying");
    } else if (total > 0) {
        status.amount = localized("update.amount", {received / tenthOfMegabyte, total / tenthOfMegabyte});
        status.fraction = static_cast<double>(received) / static_cast<double>(total);
    }
    return status;
}

} // namespace

UpdateStatus UpdateStatus::of(UpdateProgress const& progress,
                              std::optional<UpdateAbort> const& abort,
                              std::string const& ownVersion)
{
    if (progress.phase == Phase::ready)
        return {.kind = Kind::ready,
                .title = localized("update.ready", {shownVersion(progress.item)}),
                .detail = localized("update.ready.detail"),
                .notes = shownNotes(progress.item.notes)};
    if (abort)
        return ended(*abort, ownVersion);
    std::string const own = localized("main.version", {ownVersion});
    if (progress.phase == Phase::checking)
        return {.kind = Kind::checking, .title = localized("update.checking"), .detail = own};
    if (progress.phase == Phase::downloading)
        return downloading(progress);
    return {.kind = Kind::idle, .title = own, .detail = localized("update.idle.detail")};
}

bool UpdateStatus::isLike(UpdateStatus const& other) const
{
    return kind == other.kind && title == other.title && detail == other.detail && notes == other.notes;
}

std::string shownVersion(UpdateItem const& item)
{
    return text::shownInLine(item.displayVersion, maxVersion);
}

} // namespace zelvo
