#pragma once

#include "base/DelayedCall.h"
#include "base/LockedBox.h"
#include "platform/Updates.h"
#include "platform/portable/updates/ArchiveUpdates.h"

#include <memory>
#include <optional>

namespace zelvo {

/// Checks when it is time, and keeps what a check has prepared until the program ends. Thread: main.
class ArchiveUpdateController final : public UpdateController {
public:
    ArchiveUpdateController(std::shared_ptr<ArchiveUpdates::Parts> parts, UpdateDelegate& delegate);
    ~ArchiveUpdateController() override;

    void checkForUpdates() override;
    void confirmVersion() override;
    bool installOnQuit() override;

private:
    class Run;
    std::shared_ptr<Run> run;
};

} // namespace zelvo
