#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace zelvo {

/// A system error about a file, with its errno. The text contains no path. Agents never see it.
class FileFailure : public std::system_error {
public:
    explicit FileFailure(int errorNumber) : std::system_error(errorNumber, std::generic_category()) {}
};

/// A place is the program's own or a gateway's, and is no agent's business whatever was granted.
struct PrivatePlaceFailure : std::exception {
    char const* what() const noexcept override { return "a private place"; }
};

/// What is at a path. Links are not followed.
struct FileNode {
    enum class Kind {
        missing, ///< also if it can't be examined, or the path is invalid: too long, or with a NUL inside
        link,
        folder,
        other, ///< a file of any kind
    };
    Kind kind = Kind::missing;
    std::string target; ///< of a link, as stored
};

/// A place inside a folder. Neither part had a link in it when it was checked. Both are bytes, as the file
/// system stores them.
struct PlaceInFolder {
    std::string folder; ///< absolute
    std::string path;   ///< below the folder, without a slash at either end; empty for the folder itself
    bool operator==(PlaceInFolder const&) const = default;
};

/// A regular file that is open for reading.
class OpenFile {
public:
    virtual ~OpenFile() = default;
    /// Bytes; `nullopt` if unknown.
    virtual std::optional<std::uint64_t> size() = 0;
    /// The next bytes, at most `atMost`; empty at the end of the file. Throws FileFailure.
    virtual std::string read(std::size_t atMost) = 0;
};

/// The files of the machine. The place that was checked is the place that is opened: the walk from its folder
/// follows no link, does not leave the folder, and cannot be raced by a process that moves files meanwhile.
/// Thread: any; calls block for as long as the disk does, but never for another process.
/// Made by: platform/linux/system/LinuxFileSystem, tests/fakes/FakeFileSystem.
class FileSystem {
public:
    virtual ~FileSystem() = default;

    /// The home folder of a user, of our own for an empty name; `nullopt` if there is no such user.
    virtual std::optional<std::string> homeFolder(std::string const& user) = 0;
    /// The folder that relative paths start from.
    virtual std::string currentFolder() = 0;
    virtual FileNode nodeAt(std::string const& path) = 0;

    /// Opens a regular file. Null if the place changed since the check: a link is in the way, or nothing is
    /// there. Throws FileFailure also for a folder, device, pipe or socket, without opening it;
    /// PrivatePlaceFailure for a private place, by whatever name or link it was reached.
    virtual std::unique_ptr<OpenFile> open(PlaceInFolder const& place) = 0;

    /// How to treat a link at the place itself.
    enum class LinkThere {
        refused,  ///< it appeared after the check
        replaced, ///< it is dangling, so the place was checked as a new file
    };
    /// Replaces or creates a file atomically; creates missing folders above it, the granted folder too. Keeps
    /// an old file's permission bits, group and access list. Returns false, with nothing written, if the
    /// place changed since the check. Throws FileFailure; then the old file is unchanged and at most new
    /// folders remain. Throws PrivatePlaceFailure like open(), with nothing made.
    virtual bool replace(PlaceInFolder const& place, std::string_view content, LinkThere link) = 0;
};

} // namespace zelvo
