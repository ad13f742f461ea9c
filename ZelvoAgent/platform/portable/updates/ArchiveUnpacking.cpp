#include "platform/portable/updates/ArchiveUnpacking.h"

#include "platform/portable/files/FileBytes.h"
#include "platform/portable/files/Files.h"
#include "platform/portable/files/UniqueFd.h"
#include "platform/portable/updates/UpdateFailures.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>

namespace zelvo {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view topFolder = "zelvo-agent/";
constexpr std::size_t blockBytes = std::size_t{256} << 10;
constexpr mode_t programMode = 0755;
constexpr mode_t fileMode = 0644;

struct ReaderCleanup {
    void operator()(archive* reader) const noexcept { archive_read_free(reader); }
};
using ReaderPtr = std::unique_ptr<archive, ReaderCleanup>;

[[noreturn]] void failAsDamaged()
{
    throw updateFailure("update.error.archive");
}

[[noreturn]] void failOnDisk()
{
    throw updateDiskFailure();
}

/// A reader of exactly the formats that releases have: each other one would be more code for hostile bytes.
ReaderPtr openReader(int descriptor)
{
    ReaderPtr reader(archive_read_new());
    if (!reader || ::lseek(descriptor, 0, SEEK_SET) != 0)
        failOnDisk();
    archive_read_support_filter_xz(reader.get());
    archive_read_support_filter_gzip(reader.get());
    archive_read_support_filter_zstd(reader.get());
    archive_read_support_format_tar(reader.get());
    if (archive_read_open_fd(reader.get(), descriptor, blockBytes) != ARCHIVE_OK)
        failAsDamaged();
    return reader;
}

/// The plain name of an accepted file; empty for the top folder. Fails for every other entry.
std::string acceptedName(archive_entry* entry)
{
    char const* const raw = archive_entry_pathname(entry);
    std::string const path = raw ? raw : "";
    auto const type = archive_entry_filetype(entry);
    if (type == AE_IFDIR && (path == topFolder || path + "/" == topFolder))
        return {};
    bool const isPlainFile = type == AE_IFREG && !archive_entry_hardlink(entry) &&
                             !archive_entry_symlink(entry) && path.starts_with(topFolder);
    std::string name = isPlainFile ? path.substr(topFolder.size()) : std::string();
    if (std::ranges::find(archivedFiles(), name) == archivedFiles().end())
        failAsDamaged();
    return name;
}

/// Copies an entry's bytes, and takes them from what is left of the limit.
void copyEntry(archive* reader, int file, std::int64_t& left)
{
    std::string block(blockBytes, '\0');
    for (;;) {
        la_ssize_t const count = archive_read_data(reader, block.data(), block.size());
        if (count == 0)
            return;
        if (count < 0 || (left -= count) < 0)
            failAsDamaged();
        if (!files::writeAll(file, std::string_view(block.data(), static_cast<std::size_t>(count))))
            failOnDisk();
    }
}

void writeEntry(archive* reader, fs::path const& path, mode_t mode, std::int64_t& left)
{
    UniqueFd const file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
    if (!file)
        failOnDisk();
    copyEntry(reader, file.get(), left);
    // The umask may take more away than a program may miss.
    if (::fchmod(file.get(), mode) != 0 || ::fsync(file.get()) != 0)
        failOnDisk();
}

} // namespace

std::vector<std::string_view> const& archivedFiles()
{
    static std::vector<std::string_view> const names{"zelvo-agent", "Info.json", "LICENSE"};
    return names;
}

void unpackArchive(int descriptor, fs::path const& into, UnpackLimits limits)
{
    ReaderPtr const reader = openReader(descriptor);
    std::set<std::string> missing(archivedFiles().begin(), archivedFiles().end());
    std::int64_t left = limits.maxBytes;
    archive_entry* entry = nullptr;
    int status = ARCHIVE_OK;
    while ((status = archive_read_next_header(reader.get(), &entry)) == ARCHIVE_OK) {
        std::string const name = acceptedName(entry);
        if (name.empty())
            continue;
        if (missing.erase(name) == 0)
            failAsDamaged();
        bool const isProgram = name == archivedFiles().front();
        writeEntry(reader.get(), into / name, isProgram ? programMode : fileMode, left);
    }
    if (status != ARCHIVE_EOF || !missing.empty())
        failAsDamaged();
    files::syncFolder(into);
}

} // namespace zelvo
