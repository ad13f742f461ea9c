#pragma once

#include "ZelvoGateway/base/ByteSource.h"

#include <cstdint>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>

namespace zelvo::service {

/// A recording's file can't be written, kept, read or removed. what() is for the person who runs the gateway.
struct RecordingFilesError : std::runtime_error {
    using std::runtime_error::runtime_error;
    bool isTemporary = false; ///< it may work later without a change of settings
};

/// A file that is being written. Destroying it without keep() removes what was written.
/// Thread: one call at a time, on any; write() and keep() may wait for a disk or a network, the destructor
/// must not.
class RecordingDraft {
public:
    virtual ~RecordingDraft() = default;
    /// Appends. Throws RecordingFilesError.
    virtual void write(std::string_view piece) = 0;
    /// Makes it the recording's file, durably. Throws RecordingFilesError.
    virtual void keep() = 0;
};

/// The files of recordings, by the recordings' ids. A file never changes once it is kept. Several gateways of
/// one store may use the same place.
/// Thread: any; every call may wait for a disk or a network, so none runs on the server's thread once it
/// serves. Every wait has an end. Throws RecordingFilesError unless a comment says otherwise.
/// Made by: FolderRecordingFiles, s3/S3RecordingFiles, tests/gateway/support/FakeRecordingFiles.
class RecordingFiles {
public:
    virtual ~RecordingFiles() = default;

    /// How many bytes can still be stored, the largest number if that is unknown; 0 if nothing can be stored
    /// at all. Throws nothing.
    virtual std::uint64_t freeBytes() const = 0;
    /// Begins a file of `bytes` bytes. An implementation that can reserves them now.
    virtual std::unique_ptr<RecordingDraft> draft(std::string const& id, std::uint64_t bytes) const = 0;
    /// Null if there is no such file.
    virtual std::shared_ptr<ByteSource const> open(std::string const& id) const = 0;
    /// Does nothing if there is no such file.
    virtual void remove(std::string const& id) const = 0;
    /// Removes every file and every draft of other recordings than these, except what another gateway of the
    /// same store may be writing or may have written just now. Refuses a place that belongs to another store.
    virtual void removeAllBut(std::set<std::string> const& ids) const = 0;
    /// Ends every wait for a network, with RecordingFilesError. Nothing works after it. Throws nothing.
    virtual void stop() const {}
};

} // namespace zelvo::service
