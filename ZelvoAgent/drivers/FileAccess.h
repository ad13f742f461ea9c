#pragma once

#include "drivers/FileGate.h"
#include "platform/FileSystem.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace zelvo {

/// The only way for an agent to read or write a file. It touches nothing outside the granted folders, with or
/// without links in the path, and no transfer is larger than maxBytes. It checks a path after following its
/// links; for a new file it checks the parent folder. A hard link is checked only by the path given, because
/// a file does not know its other names. Writing replaces that one name and leaves the others as they were.
/// The program's own files and a gateway's data are refused whatever was granted, under every name.
/// Thread: any. A strand on the workers runs one transfer at a time; each blocks a worker while it lasts.
class FileAccess final : public FileGate {
public:
    static constexpr std::int64_t maxBytes = 104'857'600;

    /// allowedRoots  absolute paths of folders; their links are followed again at each call. An empty list
    ///               refuses every path
    FileAccess(Executor workers, FileSystem& files, std::vector<std::string> allowedRoots);

    /// Replaces the granted folders. Resumes when no transfer under the old ones is still running.
    Task<> setRoots(std::vector<std::string> roots);
    /// Like setRoots(), but calls `read` on the strand, so that the newest list wins when changes overlap.
    Task<> setRootsFrom(std::function<std::vector<std::string>()> read);

    /// A path that begins with neither a slash nor a tilde is relative to the program's working directory, as
    /// in a shell command.
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
