#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/ChildProcess.h"
#include "platform/HttpLoading.h"
#include "platform/InformationDictionary.h"
#include "platform/Updates.h"
#include "platform/portable/updates/ProgramFolder.h"
#include "platform/portable/updates/UpdateFeed.h"
#include "platform/portable/updates/UpdateRecord.h"
#include "platform/portable/updates/VersionTrial.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// Updates of a program that was unpacked from an archive: a signed feed over HTTPS, a signed archive, and an
/// exchange of the program's folder. "SUFeedURL" and "SUPublicEDKey" of the information dictionary name the
/// feed and its key. Thread: main.
class ArchiveUpdates final : public Updates {
public:
    struct Services {
        Contexts contexts;
        Clock& clock;
        HttpLoading& http;
        ChildProcesses& children;
        InformationDictionary& information;
        std::filesystem::path program; ///< the running program's file
        std::filesystem::path records; ///< private folder of the record and the downloads
        UpdateTarget target = UpdateTarget::ofThisBuild();
    };

    static constexpr Duration checkPeriod = 24h;
    static constexpr Duration firstCheckDelay = 1min; ///< the start of a session is busy enough
    static constexpr Duration retryPeriod = 1h;       ///< after a check that failed
    /// How long a new version must run to have started.
    static constexpr Duration goodRun = 1min;

    explicit ArchiveUpdates(Services services);

    std::optional<std::string> begin() override { return parts->trial.begin(); }
    std::unique_ptr<UpdateController> start(UpdateDelegate& delegate) override;

    /// What a check works with.
    struct Parts {
        explicit Parts(Services given);

        Services services;
        std::string version; ///< of the running program
        ProgramFolder folder;
        UpdateRecords records;
        VersionTrial trial;
    };

private:
    std::shared_ptr<Parts> parts; // Also of checks that still run when this is destroyed.
};

} // namespace zelvo
