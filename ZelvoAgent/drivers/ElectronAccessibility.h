#pragma once

#include "base/Contexts.h"
#include "platform/Accessibility.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace zelvo {

/// Applications built on Chromium publish no useful elements until accessibility is enabled in them. This
/// class detects them, enables it, records in which processes it did, and disables it again.
/// Thread: any; has a dedicated strand.
class ElectronAccessibility {
public:
    ElectronAccessibility(Contexts contexts, Accessibility& accessibility);

    /// Decides by the identifier first, then by the files in the application's folder.
    static bool looksLikeChromium(std::optional<std::string> const& bundleId,
                                  std::optional<std::string> const& bundlePath);
    static bool looksLikeChromium(std::optional<std::string> const& bundleId);
    /// Looks into each folder once and caches the answer until the process ends.
    static bool embedsChromium(std::string const& bundlePath);

    /// Enables accessibility in a process. True if it is on now, whoever enabled it.
    Task<bool> enable(std::int32_t pid);
    Task<> disable(std::int32_t pid);
    Task<> disableAll();
    /// Forgets a process that has ended.
    Task<> forget(std::int32_t pid);
    Task<bool> isManagedByUs(std::int32_t pid);

private:
    Task<bool> enableOnStrand(std::int32_t pid);
    Task<> switchOff(std::int32_t pid);

    Contexts contexts;
    Accessibility& accessibility;
    Executor strand;
    std::set<std::int32_t> enabledByUs; // strand; without processes in which it was already on
};

} // namespace zelvo
