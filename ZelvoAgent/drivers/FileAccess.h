#pragma once

#include "drivers/FileGate.h"
#include "platform/FileSystem.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace zelvo {

/// The only gate through which an agent reads or writes a file: whatever path is asked for, with or without
/// links, nothing outside of the granted folders is touched, and no transfer is larger than maxBytes.
/// A place is judged by where its links lead, a new file by the folder that will hold it. A hard link counts
/// as the file that it is, since no file knows its other names; writing leaves those as they were.
/// Thread: any. A strand on the workers: transfers run one at a time, and each holds a worker for its length.
class FileAccess final : public FileGate {
public:
    static constexpr std::int64_t maxBytes = 104'857'600;

    /// allowedRoots  absolute paths of folders; their links are followed anew at each call. None refuses all.
    FileAccess(Executor workers, FileSystem& files, std::vector<std::string> allowedRoots);

    /// Replaces the granted folders. Resumes when no transfer by the old ones is under way.
    Task<> setRoots(std::vector<std::string> roots);
    /// The same by a list that is read inside the strand: of changes that overlap the newest stands.
    Task<> setRootsFrom(std::function<std::vector<std::string>()> read);

    /// A path without a slash or a tilde in front counts from the program's current folder, as it does for a
    /// shell command.
    Task<std::string> read(std::string path) override;
    Task<> write(std::string path, std::string data) override;

private:
    struct Judged {
        PlaceInFolder place;
        bool exists = false;
    };
    enum class Target { mustExist, mayBeNew };

    std::string standardize(std::string path);
    Judged resolve(std::string const& standard, Target target);
    std::string readOnStrand(std::string const& path);
    void writeOnStrand(std::string const& path, std::string_view data);

    Executor const strand;
    FileSystem& files;
    std::vector<std::string> allowedRoots; // strand
};

} // namespace zelvo
