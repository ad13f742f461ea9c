#pragma once

#include "ZelvoGateway/recordings/s3/S3Credentials.h"
#include "base/Clock.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// What is sent to a store.
struct S3Message {
    std::string method;
    std::string url;
    std::string region;                    ///< for which it is signed
    std::vector<std::string> headers = {}; ///< "Name: value", all of which are signed
    std::string range = {};                ///< "0-99"; empty for the whole object
    std::string_view body = {};            ///< must live until the answer is there
    std::size_t maxAnswer = 64 << 10;      ///< bytes of the body
};

/// What it answers.
struct S3Reply {
    int status = 0; ///< 0 without an answer
    std::string body = {};
    std::string tag = {};          ///< ETag, as it is
    std::uint64_t length = 0;      ///< Content-Length
    std::string range = {};        ///< Content-Range
    std::string region = {};       ///< of the bucket, if the store reports it
    std::optional<Date> date = {}; ///< of the store's clock
    std::string problem = {};      ///< why there is no whole answer; empty if there is one
};

/// How long an exchange may take.
struct S3Times {
    Duration connect = 10s;
    Duration stalled = 20s; ///< without a byte; counts in whole seconds
    Duration longest = 180s;
    Duration firstRetry = 250ms; ///< doubles with each further one
    int maxAttempts = 4;
};

/// Sends messages with libcurl, signed, and keeps connections for later ones. No redirect is followed: a
/// signature and a recording are for one store only.
/// Thread: any; send() waits for the network.
class S3Transfers {
public:
    explicit S3Transfers(S3Times const& times);
    S3Transfers(S3Transfers const&) = delete;
    S3Transfers& operator=(S3Transfers const&) = delete;
    ~S3Transfers();

    S3Reply send(S3Message const& message, S3Credentials const& credentials);
    /// Ends what is sent now and refuses what follows.
    void stop() { stopping = true; }

private:
    class Handle;
    std::unique_ptr<Handle> idleHandle();

    S3Times const limits;
    std::atomic<bool> stopping = false;
    std::mutex lock;
    std::vector<std::unique_ptr<Handle>> idle; // lock
};

} // namespace zelvo::service
