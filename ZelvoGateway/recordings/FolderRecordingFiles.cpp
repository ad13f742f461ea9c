#include "ZelvoGateway/recordings/FolderRecordingFiles.h"

#include "ZelvoGateway/base/OwnedDescriptor.h"
#include "ZelvoGateway/base/PrivateFiles.h"
#include "ZelvoGateway/recordings/FolderClaim.h"
#include "ZelvoGateway/recordings/OpenFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <system_error>
#include <vector>

namespace zelvo::service {

namespace {

[[noreturn]] void fail(char const* what, int error = errno)
{
    throw RecordingFilesError(std::string(what) + ": " + std::generic_category().message(error));
}

int newFile(std::filesystem::path const& path)
{
    int const number = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (number < 0)
        fail("create a recording");
    markPrivate(number);
    return number;
}

/// A renamed file is durable only once its folder is synced.
void syncFolder(std::filesystem::path const& folder)
{
    int const number = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (number < 0)
        fail("keep a recording");
    OwnedDescriptor const open(number);
    if (::fsync(number) != 0)
        fail("keep a recording");
}

class FileDraft final : public RecordingDraft {
public:
    FileDraft(std::filesystem::path path, std::filesystem::path target, std::uint64_t bytes);
    FileDraft(FileDraft const&) = delete;
    FileDraft& operator=(FileDraft const&) = delete;
    ~FileDraft() override;

    void write(std::string_view piece) override;
    void keep() override;

private:
    std::filesystem::path draft;
    std::filesystem::path target;
    OwnedDescriptor file;
};

FileDraft::FileDraft(std::filesystem::path path, std::filesystem::path target, std::uint64_t bytes)
    : draft(std::move(path)), target(std::move(target)), file(newFile(draft))
{
    bool const done = ::fallocate(file.get(), FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(bytes)) == 0;
    int const error = done ? 0 : errno;
    if (error != ENOSPC && error != EDQUOT && error != EFBIG)
        return; // Not every file system can reserve space; on those, write() finds out.
    ::unlink(draft.c_str());
    fail("reserve space for a recording", error);
}

FileDraft::~FileDraft()
{
    ::unlink(draft.c_str()); // Does nothing after keep().
}

void FileDraft::write(std::string_view piece)
{
    while (!piece.empty()) {
        ssize_t const count = ::write(file.get(), piece.data(), piece.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail("write a recording");
        piece.remove_prefix(static_cast<std::size_t>(count));
    }
}

void FileDraft::keep()
{
    if (::fsync(file.get()) != 0)
        fail("write a recording");
    if (::rename(draft.c_str(), target.c_str()) != 0)
        fail("keep a recording");
    syncFolder(target.parent_path());
}

} // namespace

FolderRecordingFiles::FolderRecordingFiles(std::filesystem::path path, FolderSharing sharing)
    : path(std::move(path)), sharing(std::move(sharing))
{
}

std::uint64_t FolderRecordingFiles::freeBytes() const
{
    struct stat status{};
    bool const there = isShared() || ::mkdir(path.c_str(), 0700) == 0 || errno == EEXIST;
    struct statvfs disk{};
    if (!there || ::stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) ||
        ::statvfs(path.c_str(), &disk) != 0)
        return 0;
    return std::uint64_t{disk.f_bavail} * disk.f_frsize;
}

std::unique_ptr<RecordingDraft> FolderRecordingFiles::draft(std::string const& id, std::uint64_t bytes) const
{
    if (isShared())
        claimFolder(path, sharing.owner);
    return std::make_unique<FileDraft>(path / (id + ".part"), file(id), bytes);
}

std::shared_ptr<ByteSource const> FolderRecordingFiles::open(std::string const& id) const
{
    return OpenFile::open(file(id));
}

void FolderRecordingFiles::remove(std::string const& id) const
{
    ::unlink(file(id).c_str());
}

bool FolderRecordingFiles::isOther(std::filesystem::path const& found, std::set<std::string> const& ids) const
{
    if (isShared()) {
        auto const name = found.filename().string();
        auto const recording = recordingOfFile(name);
        return recordingOfFile(name, ".part") || (recording && !ids.contains(*recording));
    }
    bool const ours = found.extension() == ".mp4" || found.extension() == ".part";
    return ours && !ids.contains(found.stem().string());
}

void FolderRecordingFiles::removeAllBut(std::set<std::string> const& ids) const
{
    if (isShared())
        claimFolder(path, sharing.owner);
    std::error_code error;
    std::vector<std::filesystem::path> others;
    for (std::filesystem::directory_iterator entry(path, error), end; !error && entry != end;
         entry.increment(error))
        if (isOther(entry->path(), ids))
            others.push_back(entry->path());
    if (isShared())
        keepOlder(others, path, sharing.othersWrite);
    for (std::filesystem::path const& other : others)
        ::unlink(other.c_str());
}

} // namespace zelvo::service
