#pragma once

#include "ZelvoGateway/audit/AuditLog.h"
#include "ZelvoGateway/base/KeyRing.h"
#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/recordings/RecordingFiles.h"
#include "ZelvoGateway/recordings/RecordingPasses.h"
#include "ZelvoGateway/store/Store.h"
#include "base/Task.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvo::service {

/// A recording, with a pass to watch it if it is ready.
struct ListedRecording {
    StoredRecording recording;
    std::optional<RecordingPass> pass = {};
};

/// Part of a list, newest first.
struct RecordingPage {
    std::vector<ListedRecording> recordings;
    std::optional<std::string> nextBefore = {}; ///< RecordingQuery::before of the next page, if there is one
};

/// The recordings that platforms and the console see, and how recordings end.
/// Thread: the server's; files are used on the workers. Errors: Failure.
class RecordingLibrary {
public:
    RecordingLibrary(Store& store,
                     std::shared_ptr<RecordingFiles const> files,
                     ApiKey const& key,
                     KeyRing& keys,
                     AuditLog& audit,
                     Settings const& settings,
                     Clock& clock,
                     Executor workers);

    /// query.limit   1 to maxListed
    /// valid         how long the passes are valid
    RecordingPage list(Caller const& caller, RecordingQuery query, Duration valid);
    ListedRecording recording(Caller const& caller, std::string const& id, Duration valid);
    /// Deletes a recording for good; can be repeated.
    Task<ListedRecording> remove(Caller caller, std::string id);
    /// The recordings of a machine that have files.
    std::vector<std::string> withFilesOf(std::string const& machineId)
    {
        return store.recordingsWithFiles(machineId);
    }
    /// What can't be removed now is tried again by runMaintenance().
    Task<> removeFiles(std::vector<std::string> ids);
    /// Opens a recording for whoever holds a pass. Throws Failure: forbidden without a valid one, also if the
    /// key that it was issued to is revoked.
    Task<std::shared_ptr<ByteSource const>> open(std::string id, PassProof proof);

    /// Ends all passes, and signs new ones with another key.
    void setKey(ApiKey const& key) { passes = RecordingPasses(key); }

    /// At the start, before anything is served: ends what the last run left unfinished. Throws
    /// RecordingFilesError if the place of the files can't be used without other settings.
    void begin();
    /// Once a minute: ends what has expired.
    Task<> runMaintenance();

private:
    void noteWatched(StoredRecording const& recording, PassProof const& proof);
    ListedRecording listed(Caller const& caller, StoredRecording recording, Duration valid) const;
    StoredRecording found(Caller const& caller, std::string const& id);

    Store& store;
    std::shared_ptr<RecordingFiles const> files;
    RecordingPasses passes;
    KeyRing& keys;
    AuditLog& audit;
    std::set<std::string> unremoved;     ///< recordings whose files could not be removed yet
    std::map<std::string, Date> watched; ///< the signatures of passes that were used, until they expire
    Settings const& settings;
    Clock& clock;
    Executor workers;
};

} // namespace zelvo::service
