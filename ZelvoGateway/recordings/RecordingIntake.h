#pragma once

#include "ZelvoGateway/audit/AuditLog.h"
#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/recordings/RecordingFiles.h"
#include "ZelvoGateway/recordings/RecordingUpload.h"
#include "ZelvoGateway/store/Store.h"
#include "base/Task.h"

#include <map>
#include <memory>
#include <string>

namespace zelvo::service {

/// What a machine announces of a recording.
struct RecordingAnnouncement {
    std::string connectionId;
    double durationSec = 0;
    std::uint64_t sizeBytes = 0;
};

/// What a machine gets for it.
struct AnnouncedRecording {
    std::string id;
    std::string uploadSecret; ///< good for one upload
};

/// Takes recordings from machines: a machine announces one, uploads it, and completes it. Only recordings of
/// connections whose person shares them are taken.
/// Thread: the server's; files are used on the workers. Errors: Failure.
class RecordingIntake {
public:
    RecordingIntake(Store& store,
                    std::shared_ptr<RecordingFiles const> files,
                    AuditLog& audit,
                    Settings const& settings,
                    Clock& clock,
                    Executor workers);

    Task<AnnouncedRecording> announce(StoredMachine machine, RecordingAnnouncement announcement);
    /// The recording that an upload secret is for. Throws Failure: notFound if the secret is unknown, was
    /// used, or has expired.
    StoredRecording awaited(std::string const& secret);
    /// Begins the upload of an awaited recording; once each.
    std::shared_ptr<RecordingUpload> receive(StoredRecording const& recording);
    /// Makes an uploaded recording ready; can be repeated.
    /// Throws Failure: incomplete if the file is missing or short; that ends the recording, and the machine
    /// has to announce it again.
    Task<> complete(StoredMachine machine, std::string id);
    /// Records whether the person shares recordings of a connection. A no ends its uploads.
    Task<> share(StoredMachine machine, std::string connectionId, bool shared);
    /// Ends the uploads of a connection that has ended.
    Task<> connectionEnded(std::string connectionId);

private:
    StoredConnection connectionOf(StoredMachine const& machine, std::string const& id);
    void assertShared(StoredConnection const& connection);
    void assertRoom(StoredConnection const& connection, std::uint64_t bytes, std::uint64_t freeBytes);
    StoredRecording newRecording(RecordingAnnouncement const& announcement) const;

    Store& store;
    std::shared_ptr<RecordingFiles const> files;
    AuditLog& audit;
    Settings const& settings;
    Clock& clock;
    Executor workers;
    std::map<std::string, std::weak_ptr<RecordingUpload>> uploads; // by recording
};

} // namespace zelvo::service
