#pragma once

#include "base/Task.h"

#include <optional>
#include <string>

namespace zelvo {

/// The application in front: its identifier and its name.
struct FrontmostAppInfo {
    std::string bundleId;
    std::string name;
    bool operator==(FrontmostAppInfo const&) const = default;
};

/// Looks at what is in front. Thread: any; resumes the caller on its own executor.
/// Made by: confirm/ElementProbe, tests/fakes/FakeProbe.
class ElementProbing {
public:
    virtual ~ElementProbing() = default;
    virtual Task<std::optional<FrontmostAppInfo>> frontmostApp() = 0;
};

} // namespace zelvo
