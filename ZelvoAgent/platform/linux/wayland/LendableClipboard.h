#pragma once

#include "base/Clock.h"
#include "platform/Pasteboard.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// One form of a clipboard's content.
struct ClipboardForm {
    std::string type; ///< as it is offered: "text/html"
    std::string bytes;
    bool operator==(ClipboardForm const&) const = default;
};

/// All forms of a content, in the order of the offer; none if the clipboard is empty.
using ClipboardForms = std::vector<ClipboardForm>;

/// A clipboard that can hold a text for a moment and is then given back as it was.
/// Thread: any; callers are resumed on their own executor.
/// Made by: wayland/clipboard/DataControlPasteboard, wayland/shell/ShellPasteboard,
/// tests/fakes/FakeLendableClipboard.
class LendableClipboard : public Pasteboard {
public:
    static constexpr std::size_t maxForms = 32;
    static constexpr std::size_t maxFormsSize = std::size_t{32} << 20; ///< bytes of all forms
    static constexpr Duration keepPatience = 1s;                       ///< for all forms

    /// Reads everything that the clipboard holds. `nullopt` if not all of it can be read, or put back: it is
    /// beyond the limits, its owner is silent, or the desktop takes fewer forms.
    virtual Task<std::optional<ClipboardForms>> keep() = 0;
    /// Replaces the content by a text that clipboard histories leave out, as far as the desktop can say that.
    /// False if the system refuses.
    virtual Task<bool> lend(std::string text) = 0;
    /// How often programs have begun to read the lent text. `nullopt` if the desktop does not say. Never
    /// waits.
    virtual std::optional<std::uint64_t> readings() const = 0;
    /// Resumes when one more than that many readings have begun and none is under way. False if that does not
    /// happen in time, or somebody else changes the clipboard.
    virtual Task<bool> waitForReading(std::uint64_t after, Duration patience) = 0;
    /// Puts back what keep() gave. False if the system refuses.
    virtual Task<bool> putBack(ClipboardForms forms) = 0;
};

/// Which of the offered types have to be read to keep a content: without repetitions, the marks of our own
/// contents and the types that describe the offer alone. `nullopt` if there are more than maxForms, or one
/// has no name.
std::optional<std::vector<std::string>> formsToKeep(std::vector<std::string> const& offered);

/// Begins the type that marks a content as ours.
inline constexpr char const* ownMarkPrefix = "application/x-zelvo-";

} // namespace zelvo
