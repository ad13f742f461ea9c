#pragma once

#include "base/Contexts.h"
#include "platform/Accessibility.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace zelvo {

/// Applications built on Chromium publish no useful elements until they are asked to. This knows them,
/// switches that on, remembers in which processes it did, and switches it off again.
/// Thread: any; a strand of its own.
class ElectronAccessibility {
public:
    ElectronAccessibility(Contexts contexts, Accessibility& accessibility);

    /// By identifier first, then by what lies in the application's folder.
    static bool looksLikeChromium(std::optional<std::string> const& bundleId,
                                  std::optional<std::string> const& bundlePath);
    static bool looksLikeChromium(std::optional<std::string> const& bundleId);
    /// Looks once into a folder and keeps the answer for the life of the process.
    static bool embedsChromium(std::string const& bundlePath);

    /// Is it on now, by whoever's hand?
    Task<bool> enable(std::int32_t pid);
    Task<> disable(std::int32_t pid);
    Task<> disableAll();
    /// For a process that has ended.
    Task<> forget(std::int32_t pid);
    Task<bool> isManagedByUs(std::int32_t pid);

private:
    Task<bool> enableOnStrand(std::int32_t pid);
    Task<> switchOff(std::int32_t pid);

    Contexts contexts;
    Accessibility& accessibility;
    Executor strand;
    std::set<std::int32_t> enabledByUs; // strand; what was on before is not in it
};

} // namespace zelvo
