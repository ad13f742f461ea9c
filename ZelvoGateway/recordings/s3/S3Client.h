#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/recordings/RecordingFiles.h"
#include "ZelvoGateway/recordings/s3/S3Address.h"
#include "ZelvoGateway/recordings/s3/S3Answers.h"
#include "ZelvoGateway/recordings/s3/S3Transfer.h"

#include <condition_variable>
#include <mutex>

namespace zelvo::service {

/// A request about the bucket, or about an object in it.
struct S3Request {
    std::string method = "GET";
    std::string key = {}; ///< empty for the bucket
    S3Query query = {};
    std::vector<std::string> headers = {};
    std::string range = {};
    std::string_view body = {};
    std::size_t maxAnswer = 64 << 10;
};

/// Sends requests to one bucket, repeats those that fail for a passing reason, and puts what a store refuses
/// into words for the person who runs the gateway. Every request must be safe to repeat.
/// Thread: any; perform() waits for the network.
class S3Client {
public:
    S3Client(S3Settings place, S3Times times) : place(std::move(place)), times(times), transfers(times) {}

    /// Gives   an answer with a status from 200 to 299, or 404, 409, 412, 416 or 501 if the bucket is there
    /// Throws  RecordingFilesError, a temporary one if it may work later
    S3Reply perform(S3Request const& request);
    /// The same without a second attempt.
    S3Reply performOnce(S3Request const& request);
    /// "s3://bucket/prefix", for people.
    std::string name() const { return "s3://" + place.bucket + "/" + place.prefix; }
    S3Settings const& settings() const { return place; }
    /// Ends every wait with RecordingFilesError.
    void stop();

private:
    S3Reply sendOnce(S3Request const& request);
    void assertAccepted(S3Reply const& reply) const;
    [[noreturn]] void refuse(S3Reply const& reply, S3Error const& error) const;
    std::string reasonFor(S3Reply const& reply, S3Error const& error) const;
    bool waitBefore(int attempt);

    S3Settings const place;
    S3Times const times;
    S3Transfers transfers;
    std::mutex lock;
    std::condition_variable stopped;
    bool isStopped = false; // lock
};

} // namespace zelvo::service
