#include "base/Versions.h"
#include "platform/Platform.h"
#include "platform/linux/LinuxDesktop.h"
#include "platform/linux/applications/LinuxInstallation.h"
#include "platform/linux/applications/UrlHandler.h"
#include "platform/linux/dbus/BusMessages.h"
#include "platform/linux/dbus/LinuxFileReveal.h"
#include "platform/linux/dbus/LinuxNotifications.h"
#include "platform/linux/dbus/LinuxPowerAssertions.h"
#include "platform/linux/dbus/LinuxSingleInstance.h"
#include "platform/linux/dbus/SecretServiceWatch.h"
#include "platform/linux/system/LinuxChildProcesses.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/linux/system/LinuxFileSystem.h"
#include "platform/linux/system/LinuxMachineFacts.h"
#include "platform/linux/system/LinuxSecretStore.h"
#include "platform/linux/system/LinuxVideoFolders.h"
#include "platform/linux/system/RtnetlinkPath.h"
#include "platform/linux/system/XdgFolders.h"
#include "platform/portable/net/BeastWebSocket.h"
#include "platform/portable/net/CurlHttpLoading.h"
#include "platform/portable/settings/FileInformationDictionary.h"
#include "platform/portable/settings/FileUserDefaults.h"
#include "platform/portable/updates/ArchiveUpdates.h"
#include "platform/portable/video/LibavVideoFiles.h"

#include <memory>

namespace zelvo {

namespace {

/// Whether this version runs in place of a newer one that could not start.
bool wasPutBack()
{
    std::string const rejected = UpdateRecords(xdg::updatesFolder()).read().rejected;
    auto const own = FileInformationDictionary().text("CFBundleShortVersionString");
    return own && isVersionBelow(*own, rejected);
}

/// Whether this program keeps apart from a Zelvo of the same person on the same session bus: it leaves the
/// bus name and the key ring to that one.
bool isSeparate(InformationDictionary const& info)
{
    return info.text("ZelvoInstance") == "separate";
}

BusConnection::Open openBusOfInstance(InformationDictionary const& info)
{
    if (isSeparate(info))
        return [] { return BusPtr(); };
    return openSessionBus;
}

/// The Linux machine: its desktop, D-Bus and the ordinary files. Members stand in the order in which they
/// need each other. The desktop is made when it is first asked for, on the main thread: a second start of the
/// program hands over and ends without touching it.
class LinuxPlatform final : public Platform {
public:
    explicit LinuxPlatform(Contexts const& contexts)
        : contexts(contexts), time(contexts.agent),
          settings(contexts.workers, xdg::defaultsFolder(), wasPutBack),
          fileSystem(xdg::home(), FolderWalk(), xdg::privateFolders()), machineFacts("/", xdg::home()),
          path(contexts.agent), system(contexts.agent, time, openSystemBus),
          user(contexts.agent, time, openSessionBus),
          instance(contexts, time, openBusOfInstance(info), LinuxSingleInstance::lockFolder()),
          installed(
              runningProgram(),
              {.dataHome = xdg::dataHome(), .configHome = xdg::configHome(), .runtime = xdg::runtimeFolder()},
              [](auto const& entry) { makeDefaultHandler(entry, "x-scheme-handler/zelvo"); }),
          secretStore(contexts,
                      time,
                      xdg::keychainFolder(),
                      watchSecrets(),
                      isSeparate(info) ? LinuxSecretStore::Places::files
                                       : LinuxSecretStore::Places::serviceAndFiles),
          assertions(contexts.agent, system, user), notices(user), opener(contexts), loading(contexts),
          processes(contexts), folders(xdg::configHome(), xdg::home()),
          fileReveal(contexts.workers,
                     user,
                     [this](std::string const& url) { return desktop().workspace().openUrl(url); }),
          programUpdates({.contexts = contexts,
                          .clock = time,
                          .http = loading,
                          .children = processes,
                          .information = info,
                          .program = runningProgram(),
                          .records = xdg::updatesFolder()})
    {
    }

    Clock& clock() override { return time; }
    InformationDictionary& information() override { return info; }
    UserDefaults& defaults() override { return settings; }
    FileSystem& files() override { return fileSystem; }
    SecretStore& secrets() override { return secretStore; }
    SingleInstance& singleInstance() override { return instance; }
    Installation& installation() override { return installed; }
    Updates& updates() override { return programUpdates; }
    SessionEvents& session() override { return desktop().session(); }
    PowerAssertions& power() override { return assertions; }
    UserNotifications& notifications() override { return notices; }
    NetworkPath& network() override { return path; }
    HotKey& hotKey() override { return desktop().hotKey(); }
    SystemTray& tray() override { return desktop().tray(); }
    Workspace& workspace() override { return desktop().workspace(); }
    WindowList& windows() override { return desktop().windows(); }
    WindowFocus& focus() override { return desktop().focus(); }
    FrontChanges& frontChanges() override { return desktop().frontChanges(); }
    Accessibility& accessibility() override { return desktop().accessibility(); }
    ScreenSource& screen() override { return desktop().screen(); }
    ScreenStreams& screenStreams() override { return desktop().screenStreams(); }
    InterfaceWatches& interfaces() override { return desktop().interfaces(); }
    DrawingWatches& drawings() override { return desktop().drawings(); }
    VideoFiles& videos() override { return videoFiles; }
    VideoFolders& videoFolders() override { return folders; }
    FileReveal& reveal() override { return fileReveal; }
    EventPosting& events() override { return desktop().events(); }
    PointerPresses& presses() override { return desktop().presses(); }
    KeyboardLayout& keyboardLayout() override { return desktop().keyboardLayout(); }
    Pasteboard& pasteboard() override { return desktop().pasteboard(); }
    OverlayWindows& overlays() override { return desktop().overlays(); }
    SystemAccess& access() override { return desktop().access(); }
    MachineFacts& facts() override { return machineFacts; }
    WebSocketOpener& sockets() override { return opener; }
    HttpLoading& http() override { return loading; }
    ChildProcesses& children() override { return processes; }

private:
    LinuxDesktop& desktop()
    {
        if (!madeDesktop) {
            madeDesktop = makeDesktop({contexts, time, system, user, secretStore});
            system.start(); // Only now, so that those who watch miss nothing.
            user.start();
        }
        return *madeDesktop;
    }

    LinuxSecretStore::Watch watchSecrets()
    {
        return
            [this](std::function<void()> onAvailable) { watchSecretService(user, std::move(onAvailable)); };
    }

    Contexts contexts;
    LinuxClock time;
    FileInformationDictionary info;
    FileUserDefaults settings;
    LinuxFileSystem fileSystem;
    LinuxMachineFacts machineFacts;
    RtnetlinkPath path;
    BusConnection system;
    BusConnection user;
    LinuxSingleInstance instance;
    LinuxInstallation installed;
    LinuxSecretStore secretStore;
    LinuxPowerAssertions assertions;
    LinuxNotifications notices;
    BeastWebSocketOpener opener;
    CurlHttpLoading loading;
    LinuxChildProcesses processes;
    LibavVideoFiles videoFiles;
    LinuxVideoFolders folders;
    LinuxFileReveal fileReveal;
    ArchiveUpdates programUpdates;
    std::unique_ptr<LinuxDesktop> madeDesktop; // main
};

} // namespace

std::unique_ptr<Platform> makePlatform(Contexts contexts)
{
    return std::make_unique<LinuxPlatform>(contexts);
}

} // namespace zelvo
