#include "ZelvoGateway/recordings/FolderClaim.h"

#include "ZelvoGateway/base/DataFolder.h"
#include "ZelvoGateway/recordings/RecordingFileName.h"
#include "ZelvoGateway/recordings/RecordingFiles.h"
#include "base/Identifiers.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <optional>
#include <system_error>

namespace zelvo::service {

namespace {

namespace fs = std::filesystem;

constexpr char const* markName = "zelvo-gateway";

[[noreturn]] void fail(fs::path const& folder, std::string const& why)
{
    throw RecordingFilesError("recordings-folder: " + folder.string() + why);
}

/// Empty without a mark.
std::string ownerOf(fs::path const& folder)
{
    std::string const text = textOfFile(folder / markName).value_or("");
    return text.substr(0, text.find('\n'));
}

bool hasRecordings(fs::path const& folder)
{
    return std::ranges::any_of(fs::directory_iterator(folder), [](fs::directory_entry const& each) {
        return recordingOfFile(each.path().filename().string()).has_value();
    });
}

/// A file of this folder that is removed at the end of the scope.
class ScratchFile {
public:
    ScratchFile(fs::path const& folder, std::string const& text) : path(folder / (".zelvo-" + randomHex(8)))
    {
        writePrivateFile(path, text);
    }
    ScratchFile(ScratchFile const&) = delete;
    ScratchFile& operator=(ScratchFile const&) = delete;
    ~ScratchFile() { ::unlink(path.c_str()); }
    fs::path const path;
};

/// A link is made once, whoever tries at the same time.
void mark(fs::path const& folder, std::string const& owner)
{
    ScratchFile const file(folder, owner + "\n");
    if (::link(file.path.c_str(), (folder / markName).c_str()) != 0 && errno != EEXIST)
        fail(folder, ": " + std::generic_category().message(errno));
}

std::optional<fs::file_time_type> writtenAt(fs::path const& file)
{
    std::error_code error;
    auto const time = fs::last_write_time(file, error);
    return error ? std::nullopt : std::optional(time);
}

} // namespace

void claimFolder(fs::path const& folder, std::string const& owner)
{
    try {
        if (!fs::is_directory(folder))
            fail(folder, " is not there");
        if (ownerOf(folder).empty()) {
            if (hasRecordings(folder))
                fail(folder, std::string(" holds recordings, but not the file ") + markName +
                                 " that says whose they are. Write the line " + owner +
                                 " to that file if they are this gateway's");
            mark(folder, owner);
        }
    } catch (RecordingFilesError const&) {
        throw;
    } catch (std::exception const& error) {
        throw RecordingFilesError(std::string("recordings-folder: ") + error.what());
    }
    if (std::string const found = ownerOf(folder); found != owner)
        fail(folder, " belongs to another gateway, " + found + ". Choose another folder");
}

void keepOlder(std::vector<fs::path>& files, fs::path const& folder, Duration age)
{
    std::optional<fs::file_time_type> now;
    try {
        now = writtenAt(ScratchFile(folder, "").path);
    } catch (std::runtime_error const&) {
        // The folder can't be written, so nothing can be removed either.
    }
    std::erase_if(files, [&](fs::path const& file) {
        auto const written = writtenAt(file);
        return !now || !written ||
               *written > *now - std::chrono::duration_cast<fs::file_time_type::duration>(age);
    });
}

} // namespace zelvo::service
