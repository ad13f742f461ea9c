#include "platform/portable/updates/UpdateDownload.h"

#include "base/LocalizedTexts.h"
#include "platform/Updates.h"
#include "platform/portable/files/Files.h"
#include "platform/portable/updates/UpdateFailures.h"

#include <openssl/sha.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cstdio>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace zelvo {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view suffix = ".download";

/// A name of our own making: nothing that the feed says becomes a part of a path.
std::string nameOf(UpdateArchive const& archive)
{
    unsigned char digest[SHA256_DIGEST_LENGTH];
    SHA256(reinterpret_cast<unsigned char const*>(archive.signature.data()), archive.signature.size(),
           digest);
    std::string name;
    for (unsigned char const byte : digest) {
        char two[3];
        std::snprintf(two, sizeof two, "%02x", byte);
        name += two;
    }
    return name + std::string(suffix);
}

/// A file's bytes, mapped for reading.
class MappedFile {
public:
    MappedFile(int file, std::size_t bytes) : bytes(bytes)
    {
        void* const at = ::mmap(nullptr, bytes, PROT_READ, MAP_PRIVATE, file, 0);
        start = at == MAP_FAILED ? nullptr : at;
    }
    MappedFile(MappedFile const&) = delete;
    MappedFile& operator=(MappedFile const&) = delete;
    ~MappedFile()
    {
        if (start)
            ::munmap(start, bytes);
    }
    explicit operator bool() const { return start != nullptr; }
    std::string_view text() const { return {static_cast<char const*>(start), bytes}; }

private:
    std::size_t bytes;
    void* start = nullptr;
};

std::vector<fs::path> downloadsIn(fs::path const& folder)
{
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (entry->path().native().ends_with(suffix))
            found.push_back(entry->path());
    return found;
}

void removeFile(fs::path const& file)
{
    std::error_code ignored;
    fs::remove(file, ignored);
}

} // namespace

UpdateDownload::UpdateDownload(fs::path const& folder, UpdateArchive wanted)
    : archive(std::move(wanted)), file(folder / nameOf(archive))
{
    for (fs::path const& other : downloadsIn(folder))
        if (other != file)
            removeFile(other);
}

bool UpdateDownload::isIn(fs::path const& folder)
{
    return !downloadsIn(folder).empty();
}

void UpdateDownload::removeAll(fs::path const& folder)
{
    for (fs::path const& one : downloadsIn(folder))
        removeFile(one);
}

void UpdateDownload::remove() const
{
    removeFile(file);
}

Task<> UpdateDownload::receive(HttpLoading& http, std::function<bool(std::int64_t)> onProgress) const
{
    auto const present = files::identityOf(file);
    if (present && present->bytes == archive.bytes)
        co_return;
    if (present && present->bytes > archive.bytes)
        remove();
    HttpDownload download{.url = archive.address,
                          .file = file,
                          .maxBytes = archive.bytes,
                          .longest = 6h,
                          .onProgress = std::move(onProgress)};
    HttpResponse response;
    try {
        response = co_await http.download(std::move(download));
    } catch (NetworkFailure const& failure) {
        if (failure.kind == NetworkFailure::Kind::other)
            remove(); // What is there may not continue, so the next check begins anew.
        throw;
    }
    constexpr int success = 200;
    constexpr int rest = 206;
    constexpr int unsatisfiable = 416;
    if (response.status == unsatisfiable)
        remove();
    if (response.status != success && response.status != rest)
        throw UpdateAbort{.description = localized("update.error.status", {std::int64_t(response.status)})};
}

UniqueFd UpdateDownload::verified(UpdateKey const& key) const
{
    UniqueFd found(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    struct stat facts{};
    if (!found || ::fstat(found.get(), &facts) != 0)
        throw updateDiskFailure();
    if (!S_ISREG(facts.st_mode) || facts.st_size != archive.bytes) {
        remove();
        throw UpdateAbort{.description = localized("update.error.length")};
    }
    MappedFile const content(found.get(), static_cast<std::size_t>(facts.st_size));
    if (!content)
        throw updateDiskFailure();
    if (!key.verifies(content.text(), archive.signature)) {
        remove();
        throw UpdateAbort{.description = localized("update.error.archiveSignature")};
    }
    return found;
}

} // namespace zelvo
