#pragma once

#include "gateway/Keychain.h"
#include "platform/HttpLoading.h"
#include "wire/Json.h"

#include <optional>
#include <string>

namespace zelvo {

/// The service's answer.
struct RecordingReply {
    int status = 0;                   ///< 0 if there was no answer
    std::optional<json::object> body; ///< `nullopt` if it is not a JSON object
    std::string peer = {};            ///< the address that answered; the gateway's host name through a proxy

    /// Parses the body of a response.
    static RecordingReply from(HttpResponse const& response);
    /// The service's error code: the text at "error", "code".
    std::optional<std::string> code() const;
};

/// The upload address of a recording.
struct RecordingUploadTarget {
    std::string recordingId;
    std::string uploadUrl;

    /// `nullopt` if a key is missing or the address is not a URL.
    static std::optional<RecordingUploadTarget> from(RecordingReply const& reply);
};

/// Calls the gateway's recording service with the machine's token. Thread: any.
class RecordingService {
public:
    struct Services {
        Executor workers;
        HttpLoading& http;
        Keychain& keychain;
        std::string httpBase; ///< the HTTP form of the gateway's address
        std::string appVersion;
    };

    explicit RecordingService(Services services) : services(std::move(services)) {}

    /// path    relative to the gateway's address
    /// Gives   status 0 if there is no token or no complete answer
    /// Throws  NetworkFailure of kind `cancelled` when the process ends
    Task<RecordingReply> post(std::string path, json::object body);

private:
    HttpRequest requestFor(std::string const& path, std::string const& token, json::object const& body) const;

    Services services;
};

} // namespace zelvo
