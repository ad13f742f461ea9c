// The feed and the archive of an update, and the record that the updates keep. The first byte chooses.

#include "platform/Updates.h"
#include "platform/portable/files/FileBytes.h"
#include "platform/portable/files/UniqueFd.h"
#include "platform/portable/updates/ArchiveUnpacking.h"
#include "platform/portable/updates/UpdateFeed.h"
#include "platform/portable/updates/UpdateRecord.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

namespace {

namespace fs = std::filesystem;

/// A folder that disappears with the process.
class Scratch {
public:
    Scratch()
    {
        std::string name = (fs::temp_directory_path() / "zelvo-fuzz-XXXXXX").string();
        if (!::mkdtemp(name.data()))
            std::abort();
        path = name;
    }
    Scratch(Scratch const&) = delete;
    Scratch& operator=(Scratch const&) = delete;
    ~Scratch()
    {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
    fs::path path;
};

fs::path const& emptyFolder()
{
    static Scratch const scratch;
    for (auto const& entry : fs::directory_iterator(scratch.path))
        fs::remove_all(entry);
    return scratch.path;
}

/// Whatever an archive holds, only three plain files can appear.
void unpack(std::string_view bytes)
{
    zelvo::UniqueFd const file(::memfd_create("archive", MFD_CLOEXEC));
    fs::path const& folder = emptyFolder();
    if (!zelvo::files::writeAll(file.get(), bytes))
        std::abort();
    try {
        zelvo::unpackArchive(file.get(), folder, {.maxBytes = 1 << 20});
    } catch (zelvo::UpdateAbort const&) {
    }
    for (auto const& entry : fs::directory_iterator(folder)) {
        auto const& known = zelvo::archivedFiles();
        if (!entry.is_regular_file() || entry.is_symlink() || entry.file_size() > 1 << 20 ||
            std::ranges::find(known, entry.path().filename().string()) == known.end())
            std::abort();
    }
}

void readFeed(std::string_view text)
{
    try {
        zelvo::UpdateFeed const feed =
            zelvo::parseFeed(text, {.system = "linux", .architecture = "x86_64", .language = "en"});
        bool const isSound = feed.archive.address.starts_with("https://") && feed.archive.bytes > 0 &&
                             feed.version.find('/') == std::string::npos;
        if (!isSound)
            std::abort();
    } catch (zelvo::UpdateAbort const&) {
    }
}

void readRecord(std::string_view text)
{
    zelvo::UpdateRecord const record = zelvo::parseUpdateRecord(text);
    if (zelvo::parseUpdateRecord(zelvo::writeUpdateRecord(record)) != record)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    if (text.starts_with('a'))
        unpack(text.substr(1));
    else if (text.starts_with('r'))
        readRecord(text.substr(1));
    else
        readFeed(text);
    return 0;
}
