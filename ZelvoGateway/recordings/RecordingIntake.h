#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/http/BodySink.h"
#include "ZelvoGateway/http/HttpMessage.h"
#include "ZelvoGateway/recordings/RecordingFolder.h"
#include "ZelvoGateway/store/Store.h"
#include "base/Task.h"
#include "wire/Json.h"

#include <map>
#include <memory>
#include <string>

namespace zelvo::service {

class RecordingUpload;

/// Takes films from machines: a machine announces a film and gets an address for its body, sends the body
/// there, and says that it is complete. Only films of connections whose person shares them are taken.
/// Thread: the server's; the disk is written on the workers. Errors: Failure.
class RecordingIntake {
public:
    RecordingIntake(Store& store,
                    std::shared_ptr<RecordingFolder const> folder,
                    Settings const& settings,
                    Clock& clock,
                    Executor workers);
    ~RecordingIntake();

    /// {"connectionId", "durationSec", "sizeBytes"} gives {"recordingId", "uploadUrl"}.
    /// address   where the machine reaches this gateway
    json::object
    announce(StoredMachine const& machine, json::object const& request, std::string const& address);
    /// Takes the body of an upload address, once each; judged by the head of the request.
    std::shared_ptr<BodySink> receive(std::string const& secret, HttpRequest const& head);
    /// {"recordingId"} makes a film that came ready; may be said again. Gives the film.
    StoredRecording complete(StoredMachine const& machine, json::object const& request);
    /// {"connectionId", "shared"}: the person's word. A no ends what is under way.
    Task<json::object> share(StoredMachine machine, json::object request);
    /// Ends what is under way of a connection that ended.
    Task<> connectionEnded(std::string connectionId);

private:
    StoredConnection connectionOf(StoredMachine const& machine, std::string const& id);
    void assertMayShare(StoredConnection const& connection);
    void assertRoom(StoredConnection const& connection, std::uint64_t bytes);

    Store& store;
    std::shared_ptr<RecordingFolder const> folder;
    Settings const& settings;
    Clock& clock;
    Executor workers;
    std::map<std::string, std::weak_ptr<RecordingUpload>> coming; // by film
};

} // namespace zelvo::service
