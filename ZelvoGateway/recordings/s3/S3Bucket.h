#pragma once

#include "ZelvoGateway/recordings/s3/S3Cleanup.h"
#include "ZelvoGateway/recordings/s3/S3Client.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace zelvo::service {

/// The place of one store's recordings in a bucket: "PREFIXrec_....mp4". The object "PREFIXzelvo-gateway"
/// holds the id of the store that they belong to, so that gateways which share a prefix by mistake don't
/// remove each other's recordings. Thread: any; calls wait for the network. Throws RecordingFilesError.
class S3Bucket {
public:
    static constexpr char const* markName = "zelvo-gateway";

    /// owner   the id of the store that the recordings belong to
    S3Bucket(S3Settings const& place, std::string owner, S3Times const& times);

    /// Takes the prefix for the owner, or refuses one that belongs to another. Asks once.
    void claim();
    /// The same, asking each time.
    void claimAgain();

    std::string keyOf(std::string const& id) const;
    /// Nullopt for what is not ours.
    std::optional<std::string> recordingOf(std::string_view key) const;
    S3Reply perform(S3Request const& request) { return client.perform(request); }
    /// Every object below the prefix, with the date of the store's clock.
    void forEachObject(std::function<void(S3Object const& object, Date now)> const& take);
    /// Every multipart upload that is not finished.
    void forEachUpload(std::function<void(S3Upload const& upload, Date now)> const& take);
    /// Removes an object, or with an id aborts an upload; does nothing if it is not there.
    void remove(std::string const& key, std::string const& uploadId = {});

    std::string name() const { return client.name(); }
    S3Settings const& settings() const { return client.settings(); }
    void stop() { client.stop(); }

    std::atomic<int> openDrafts = 0;
    S3Cleanup cleanup;

private:
    std::string markKey() const { return settings().prefix + markName; }
    std::string owner();
    void mark();
    void assertNoRecordings();
    S3ObjectPage objectPage(std::string const& token, Date& now);

    S3Client client;
    std::string const wantedOwner;
    std::mutex lock;
    bool isClaimed = false; // lock
};

} // namespace zelvo::service
