#pragma once

#include "drivers/TreeCapturing.h"
#include "wire/AgentError.h"

namespace zelvo {

/// Returns the test's elements and records the calls.
class FakeTree final : public TreeCapturing {
public:
    struct Asked {
        TreeScope scope{};
        bool interactiveOnly = false;
        std::optional<std::int32_t> targetPid;
        bool operator==(Asked const&) const = default;
    };

    explicit FakeTree(Clock& clock) : clock(clock) {}

    std::int32_t pid = 100;
    std::optional<UiTreeSnapshot::App> app = UiTreeSnapshot::App{"org.editor", "Editor"};
    std::vector<UiElementInfo> elements;
    bool isRelative = false;
    std::vector<std::string> names; ///< of the elements
    bool truncated = false;
    std::optional<AgentError> failsWith;
    std::vector<Asked> asked;
    Duration takes{}; ///< the time of a walk

    Task<UiTreeSnapshot>
    snapshot(TreeScope scope, bool interactiveOnly, std::optional<std::int32_t> targetPid) override
    {
        asked.push_back({scope, interactiveOnly, targetPid});
        if (failsWith)
            throw *failsWith;
        std::string const id = "snp_" + std::to_string(asked.size());
        if (takes > Duration::zero())
            co_await clock.sleep(takes);
        UiTreeSnapshot taken;
        taken.snapshotId = id;
        taken.pid = pid;
        taken.app = app;
        taken.elements = elements;
        taken.isRelative = isRelative;
        taken.names = names;
        taken.truncated = truncated;
        taken.createdAt = clock.date();
        co_return taken;
    }

private:
    Clock& clock;
};

} // namespace zelvo
