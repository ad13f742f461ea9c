#pragma once

#include "platform/linux/wayland/WindowSource.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace zelvo {

/// Numbers for the compositor's windows, which it names by texts. A window keeps its number as long as it
/// exists; numbers rise in the order in which windows are first seen, and are used again only after all
/// others. Thread: any.
class WindowIds {
public:
    /// first  the number of the first window, at least 1
    explicit WindowIds(std::uint32_t first = 1) : next(first) {}

    /// Numbers the windows of a look, and forgets some that have been gone for many looks.
    void note(WindowsNow const& now);
    /// Never 0.
    std::uint32_t idOf(std::string const& window);
    /// `nullopt` if there is no such window, or it was forgotten.
    std::optional<std::string> windowOf(std::uint32_t id) const;
    std::size_t size() const;

    /// More windows than this are not remembered once they are gone.
    static constexpr std::size_t maxRemembered = 4096;

private:
    struct Known {
        std::uint32_t id = 0;
        std::uint64_t seen = 0; ///< the last look that had it
    };

    std::uint32_t numbered(std::string const& window);
    std::uint32_t unusedId();
    void forgetGone();

    mutable std::mutex lock; // All below.
    std::uint32_t next;
    std::uint64_t looks = 0;
    std::map<std::string, Known> byWindow;
    std::map<std::uint32_t, std::string> byId;
};

} // namespace zelvo
