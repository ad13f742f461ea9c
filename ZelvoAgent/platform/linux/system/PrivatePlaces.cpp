#include "platform/linux/system/PrivatePlaces.h"

#include "wire/PrivateMark.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <cerrno>
#include <optional>

namespace zelvo {

namespace {

namespace fs = std::filesystem;

constexpr int maxDepth = 4096; // More folders than a path has room for.

std::pair<dev_t, ino_t> idOf(struct stat const& facts)
{
    return {facts.st_dev, facts.st_ino};
}

std::optional<std::pair<dev_t, ino_t>> idOfFolder(int folder)
{
    struct stat facts{};
    if (::fstat(folder, &facts) != 0)
        return std::nullopt;
    return idOf(facts);
}

bool isMarked(int folder)
{
    struct stat facts{};
    return ::fstatat(folder, PrivateMark::fileName, &facts, AT_SYMLINK_NOFOLLOW) == 0;
}

/// Calls `visit` with what is known of everything below a folder, links followed once. Returns what kept it
/// from seeing everything.
template <class Visit>
std::error_code visitAllBelow(fs::path const& folder, Visit visit)
{
    std::error_code error;
    if (!fs::exists(folder, error))
        return error;
    for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        struct stat facts{};
        if (::stat(entry->path().c_str(), &facts) == 0 || ::lstat(entry->path().c_str(), &facts) == 0)
            visit(facts);
        else if (errno != ENOENT) // Else it was removed meanwhile.
            return {errno, std::generic_category()};
    }
    return error;
}

/// False if not everything below the folder can be seen. A folder that is removed meanwhile is tried again.
template <class Visit>
bool forAllBelow(fs::path const& folder, Visit visit)
{
    constexpr int attempts = 5;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        std::error_code const error = visitAllBelow(folder, visit);
        if (error != std::errc::no_such_file_or_directory)
            return !error;
    }
    return false;
}

} // namespace

PrivatePlaces::PrivatePlaces(std::vector<fs::path> folders) : folders(std::move(folders))
{
    for (fs::path const& folder : this->folders)
        hold(folder);
}

bool PrivatePlaces::hasFolder(int folder) const
{
    auto const ids = folderIds();
    if (!ids)
        return true;
    UniqueFd const root(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    auto const top = root ? idOfFolder(root.get()) : std::nullopt;
    UniqueFd reached(::openat(folder, ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    for (int depth = 0; reached && depth < maxDepth; ++depth) {
        auto const id = idOfFolder(reached.get());
        if (!id || ids->contains(*id) || isMarked(reached.get()))
            return true;
        UniqueFd parent(::openat(reached.get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
        // A folder that is mounted on its own child has its parent's identity, too.
        if (parent && id == top && idOfFolder(parent.get()) == top)
            return false;
        reached = std::move(parent);
    }
    return true;
}

bool PrivatePlaces::hasFile(int file) const
{
    struct stat facts{};
    return ::fstat(file, &facts) != 0 || ::fgetxattr(file, PrivateMark::attribute, nullptr, 0) >= 0 ||
           isPrivateFile(idOf(facts));
}

bool PrivatePlaces::hasName(int folder, std::string const& name) const
{
    struct stat facts{};
    if (name == PrivateMark::fileName)
        return true;
    if (::fstatat(folder, name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0)
        return errno != ENOENT;
    std::string const path = "/proc/self/fd/" + std::to_string(folder) + "/" + name;
    return ::lgetxattr(path.c_str(), PrivateMark::attribute, nullptr, 0) >= 0 || isPrivateFile(idOf(facts));
}

/// The private folders, and all folders in them: one of those may be mounted elsewhere. `nullopt` if they
/// can't all be seen.
std::optional<std::set<PrivatePlaces::Id>> PrivatePlaces::folderIds() const
{
    std::set<Id> ids;
    for (fs::path const& folder : folders) {
        hold(folder);
        bool const isWhole = forAllBelow(folder, [&](struct stat const& facts) {
            if (S_ISDIR(facts.st_mode))
                ids.insert(idOf(facts));
        });
        if (!isWhole)
            return std::nullopt;
    }
    std::scoped_lock const guard(lock);
    for (auto const& [id, open] : held)
        ids.insert(id);
    return ids;
}

/// Also true if the private files can't all be seen.
bool PrivatePlaces::isPrivateFile(Id const& id) const
{
    bool isFound = false;
    for (fs::path const& folder : folders) {
        bool const isWhole = forAllBelow(folder, [&](struct stat const& facts) {
            isFound = isFound || (!S_ISDIR(facts.st_mode) && idOf(facts) == id);
        });
        if (isFound || !isWhole)
            return true;
    }
    return false;
}

void PrivatePlaces::hold(fs::path const& folder) const
{
    UniqueFd open(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    auto const id = open ? idOfFolder(open.get()) : std::nullopt;
    std::scoped_lock const guard(lock);
    std::erase_if(held, [](auto const& entry) {
        struct stat facts{};
        return ::fstat(entry.second.get(), &facts) != 0 || facts.st_nlink == 0; // It was removed.
    });
    if (id)
        held.try_emplace(*id, std::move(open));
}

} // namespace zelvo
