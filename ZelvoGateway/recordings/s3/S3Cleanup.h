#pragma once

#include "ZelvoGateway/recordings/s3/S3Client.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

namespace zelvo::service {

/// Removes what unfinished drafts left in a bucket, on a separate thread, so nobody waits for it. What fails
/// is in the log; a later start removes it. Thread: any.
class S3Cleanup {
public:
    S3Cleanup(S3Settings const& place, S3Times const& times) : client(place, times) {}
    S3Cleanup(S3Cleanup const&) = delete;
    S3Cleanup& operator=(S3Cleanup const&) = delete;
    /// Waits a few seconds for what is left.
    ~S3Cleanup();

    /// uploadId   of a multipart upload to abort; empty to remove the object
    void remove(std::string key, std::string uploadId);

private:
    static constexpr std::size_t maxLeft = 10'000;

    void run();
    void perform(S3Request const& request);

    S3Client client; // Not that of the bucket, whose end must not prevent this.
    std::mutex lock;
    std::condition_variable changed;
    std::deque<S3Request> left; // lock
    bool isBusy = false;        // lock
    bool isEnding = false;      // lock
    std::thread thread;         // lock
};

} // namespace zelvo::service
