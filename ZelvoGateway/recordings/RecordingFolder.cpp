#include "ZelvoGateway/recordings/RecordingFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <system_error>
#include <vector>

namespace zelvo::service {

namespace {

[[noreturn]] void fail(char const* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

int newFile(std::filesystem::path const& path)
{
    int const number = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (number < 0)
        fail("make a film");
    return number;
}

/// A new name is on disk only once its folder is.
void syncFolder(std::filesystem::path const& folder)
{
    int const number = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (number < 0)
        fail("keep a film");
    OwnedDescriptor const open(number);
    if (::fsync(number) != 0)
        fail("keep a film");
}

} // namespace

RecordingDraft::RecordingDraft(std::filesystem::path path, std::filesystem::path target, std::uint64_t bytes)
    : draft(std::move(path)), film(std::move(target)), file(newFile(draft))
{
    bool const done = ::fallocate(file.get(), FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(bytes)) == 0;
    int const error = done ? 0 : errno;
    if (error != ENOSPC && error != EDQUOT && error != EFBIG)
        return; // Where it can't be set aside, writing tells.
    ::unlink(draft.c_str());
    errno = error;
    fail("make room for a film");
}

RecordingDraft::~RecordingDraft()
{
    ::unlink(draft.c_str()); // There is none any more when it was kept.
}

void RecordingDraft::write(std::string_view piece)
{
    while (!piece.empty()) {
        ssize_t const count = ::write(file.get(), piece.data(), piece.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail("write a film");
        piece.remove_prefix(static_cast<std::size_t>(count));
    }
}

void RecordingDraft::keep()
{
    if (::fsync(file.get()) != 0)
        fail("write a film");
    if (::rename(draft.c_str(), film.c_str()) != 0)
        fail("keep a film");
    syncFolder(film.parent_path());
}

std::uint64_t RecordingFolder::room() const
{
    struct stat status{};
    bool const there = ::mkdir(path.c_str(), 0700) == 0 || errno == EEXIST;
    struct statvfs disk{};
    if (!there || ::stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) ||
        ::statvfs(path.c_str(), &disk) != 0)
        return 0;
    return std::uint64_t{disk.f_bavail} * disk.f_frsize;
}

std::unique_ptr<RecordingDraft> RecordingFolder::draft(std::string const& id, std::uint64_t bytes) const
{
    return std::make_unique<RecordingDraft>(path / (id + ".part"), film(id), bytes);
}

std::shared_ptr<OpenFile const> RecordingFolder::open(std::string const& id) const
{
    return OpenFile::open(film(id));
}

void RecordingFolder::remove(std::string const& id) const
{
    ::unlink(film(id).c_str());
}

void RecordingFolder::removeAllBut(std::set<std::string> const& ids) const
{
    std::error_code error;
    std::vector<std::filesystem::path> strangers;
    for (std::filesystem::directory_iterator entry(path, error), end; !error && entry != end;
         entry.increment(error)) {
        std::filesystem::path const& file = entry->path();
        bool const ours = file.extension() == ".mp4" || file.extension() == ".part";
        if (ours && !ids.contains(file.stem().string()))
            strangers.push_back(file);
    }
    for (std::filesystem::path const& file : strangers)
        ::unlink(file.c_str());
}

} // namespace zelvo::service
