#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/http/HttpMessage.h"
#include "ZelvoGateway/recordings/RecordingAddresses.h"
#include "ZelvoGateway/recordings/RecordingFolder.h"
#include "ZelvoGateway/store/Store.h"
#include "base/Task.h"
#include "wire/records/ServiceHistory.h"

#include <memory>
#include <string>

namespace zelvo::service {

/// What platforms and the console see of films, and how films end.
/// Thread: the server's; files are removed on the workers. Errors: Failure.
class RecordingLibrary {
public:
    RecordingLibrary(Store& store,
                     std::shared_ptr<RecordingFolder const> folder,
                     ApiKey const& key,
                     Settings const& settings,
                     Clock& clock,
                     Executor workers);

    /// {"data", "nextBefore"?}, newest first; the query may hold "connectionId", "before" and "limit".
    /// address   where the caller reaches this gateway; the films' addresses begin with it
    json::object list(HttpRequest const& request, std::string const& address);
    records::Recording recording(std::string const& id, std::string const& address);
    /// Deletes a film for good; may be said again. Gives what is left to be told of it.
    Task<records::Recording> remove(std::string id);
    /// The films of a machine, to be removed when it was forgotten.
    std::vector<std::string> recordingsOf(std::string const& machineId)
    {
        return store.recordingsOf(machineId);
    }
    Task<> removeFiles(std::vector<std::string> ids);
    /// A film or the part of it that is asked for. The address is the credential.
    HttpResponse film(HttpRequest const& request, std::string const& id);

    /// At the start, before anything is served.
    void begin();
    /// What is to be done once a minute.
    Task<> tidy();

    records::Recording recordOf(StoredRecording const& recording, std::string const& address) const;

private:
    StoredRecording found(std::string const& id);

    Store& store;
    std::shared_ptr<RecordingFolder const> folder;
    RecordingAddresses addresses;
    Settings const& settings;
    Clock& clock;
    Executor workers;
};

} // namespace zelvo::service
