// Starts like the program, downloads, and exchanges its folder, with a real disk and real processes, until it
// is done or killed. Arguments: PROGRAM RECORDS FEED ARCHIVE KEY.

#include "fakes/FakeDesktop.h"
#include "fakes/Run.h"
#include "platform/linux/system/LinuxChildProcesses.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/portable/settings/FileInformationDictionary.h"
#include "platform/portable/updates/ArchiveUpdates.h"
#include "unit/system/TemporaryFolder.h"

#include <unistd.h>

#include <cstdio>
#include <string>

namespace zelvo {
namespace {

namespace fs = std::filesystem;

/// Serves two files: the feed, and the archive in small pieces, which are continued.
class FileHttp final : public HttpLoading {
public:
    FileHttp(fs::path feed, fs::path archive) : feed(std::move(feed)), archive(std::move(archive)) {}

    Task<HttpResponse> load(HttpRequest) override { co_return HttpResponse{200, contentOf(feed)}; }
    Task<HttpResponse> upload(HttpUpload) override { co_return HttpResponse{}; }
    Task<HttpResponse> download(HttpDownload wanted) override
    {
        constexpr std::size_t piece = 4096;
        std::string const content = contentOf(archive);
        std::error_code error;
        std::size_t from = fs::exists(wanted.file) ? fs::file_size(wanted.file, error) : 0;
        int const status = from > 0 ? 206 : 200;
        for (; from < content.size(); from += piece)
            std::ofstream(wanted.file, std::ios::binary | std::ios::app) << content.substr(from, piece);
        co_return HttpResponse{status, {}};
    }
    void endCalls() override {}

private:
    fs::path feed;
    fs::path archive;
};

class Listener final : public UpdateDelegate {
public:
    bool isReady = false;
    bool isOver = false;
    void progressed(UpdateProgress progress) override
    {
        isReady = isReady || progress.phase == UpdateProgress::Phase::ready;
    }
    void didAbort(UpdateAbort abort) override
    {
        std::fprintf(stderr, "%s\n", abort.description.c_str());
        isOver = true;
    }
    void willInstallUpdateOnQuit(UpdateItem) override {}
};

int work(char** arguments)
{
    asio::io_context io;
    LinuxClock clock(io.get_executor());
    LinuxChildProcesses children(contextsOn(io));
    FileHttp http(arguments[3], arguments[4]);
    fs::path const program = arguments[1];
    FakeInformationDictionary information;
    information.texts = {
        {"SUFeedURL", "https://updates.example/feed"},
        {"SUPublicEDKey", arguments[5]},
        {"CFBundleShortVersionString", FileInformationDictionary(program.parent_path() / "Info.json")
                                           .text("CFBundleShortVersionString")
                                           .value_or("")}};
    ArchiveUpdates updates({.contexts = contextsOn(io),
                            .clock = clock,
                            .http = http,
                            .children = children,
                            .information = information,
                            .program = program,
                            .records = arguments[2],
                            .target = {.system = "linux", .architecture = "x86_64", .language = "en"}});
    updates.begin();
    Listener listener;
    auto const controller = updates.start(listener);
    controller->checkForUpdates();
    runUntil(io, [&] { return listener.isReady || listener.isOver; });
    bool const isInstalled = listener.isReady && controller->installOnQuit();
    std::fflush(nullptr);
    ::_exit(isInstalled ? 0 : 1); // Like a process that ends with its threads.
}

} // namespace
} // namespace zelvo

int main(int count, char** arguments)
{
    return count == 6 ? zelvo::work(arguments) : 2;
}
