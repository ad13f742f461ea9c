#pragma once

#include "gateway/Keychain.h"
#include "platform/HttpLoading.h"
#include "wire/Json.h"

#include <optional>
#include <string>

namespace zelvo {

/// What the service answered.
struct RecordingReply {
    int status = 0;                   ///< 0 when there was no answer
    std::optional<json::object> body; ///< when it is a JSON object

    /// Reads the body of an answer.
    static RecordingReply from(HttpResponse const& response);
    /// The service's own word for a failure: the text at "error", "code".
    std::optional<std::string> code() const;
};

/// Where a recording is to go.
struct RecordingUploadTarget {
    std::string recordingId;
    std::string uploadUrl;

    /// Nothing when a key is missing or the address is none.
    static std::optional<RecordingUploadTarget> from(RecordingReply const& reply);
};

/// Calls of the gateway's service about recordings, each with the machine's token. Thread: any.
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

    /// path  below the gateway's address
    /// Gives status 0 without a token and when no complete answer came. Throws NetworkFailure of kind
    /// `cancelled` when the process ends.
    Task<RecordingReply> post(std::string path, json::object body);

private:
    HttpRequest requestFor(std::string const& path, std::string const& token, json::object const& body) const;

    Services services;
};

} // namespace zelvo
