#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace zelvo {

/// A failure of the system about a file, with its errno. Its text names no path. It reaches no agent.
class FileFailure : public std::system_error {
public:
    explicit FileFailure(int errorNumber) : std::system_error(errorNumber, std::generic_category()) {}
};

/// What stands at one path. A link there is told as itself.
struct FileNode {
    enum class Kind {
        missing, ///< also what can't be looked at, and a path that is none: too long, or with a NUL inside
        link,
        folder,
        other, ///< a file of any kind
    };
    Kind kind = Kind::missing;
    std::string target; ///< of a link, as it stands in the link
};

/// A place inside a folder. Neither part had a link in it when it was judged. Both are bytes, as the file
/// system has them.
struct PlaceInFolder {
    std::string folder; ///< absolute
    std::string path;   ///< below the folder, without a slash at either end; empty for the folder itself
    bool operator==(PlaceInFolder const&) const = default;
};

/// A regular file that is open for reading.
class OpenFile {
public:
    virtual ~OpenFile() = default;
    /// Bytes; nothing when it can't be told.
    virtual std::optional<std::uint64_t> size() = 0;
    /// The next bytes up to the end of the file, and no more than `atMost`. Throws FileFailure.
    virtual std::string read(std::size_t atMost) = 0;
};

/// The files of the machine. What was judged is what is opened: a place is walked to from its folder without
/// following a link and without leaving the folder, in one step for anybody who moves things meanwhile.
/// Thread: any; calls block for as long as the disk does, but never for another process.
/// Made by: platform/linux/system/LinuxFileSystem, tests/fakes/FakeFileSystem.
class FileSystem {
public:
    virtual ~FileSystem() = default;

    /// The home folder of a user, of our own for an empty name; nothing when there is no such user.
    virtual std::optional<std::string> homeFolder(std::string const& user) = 0;
    /// What a path without a slash in front counts from.
    virtual std::string currentFolder() = 0;
    virtual FileNode nodeAt(std::string const& path) = 0;

    /// Opens a regular file. Null when the place isn't what it was: a link stands in the way, or nothing is
    /// there. Throws FileFailure, for a folder, a device, a pipe or a socket too, without having opened it.
    virtual std::unique_ptr<OpenFile> open(PlaceInFolder const& place) = 0;

    /// What is to become of a link at the place itself.
    enum class LinkThere {
        refused,  ///< it came after the place was judged
        replaced, ///< it leads nowhere, so that the place was judged as a new file
    };
    /// Replaces a file, or makes one, in one step that is either whole or not there; the folders above it are
    /// made where they are missing, the granted one too. An old file's permission bits, group and access
    /// list are kept. False, with nothing written, when the place isn't what it was. Throws FileFailure; the
    /// old file then stands and nothing else is left behind but folders.
    virtual bool replace(PlaceInFolder const& place, std::string_view content, LinkThere link) = 0;
};

} // namespace zelvo
