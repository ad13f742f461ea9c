#include "platform/Platform.h"
#include "platform/linux/dbus/BusMessages.h"
#include "platform/linux/dbus/LinuxPowerAssertions.h"
#include "platform/linux/dbus/LinuxSessionEvents.h"
#include "platform/linux/dbus/LinuxSingleInstance.h"
#include "platform/linux/dbus/LinuxSystemAccess.h"
#include "platform/linux/dbus/SecretServiceWatch.h"
#include "platform/linux/input/X11EventPosting.h"
#include "platform/linux/input/X11HotKey.h"
#include "platform/linux/net/BeastWebSocket.h"
#include "platform/linux/net/CurlHttpLoading.h"
#include "platform/linux/system/FileInformationDictionary.h"
#include "platform/linux/system/FileUserDefaults.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/linux/system/LinuxMachineFacts.h"
#include "platform/linux/system/LinuxSecretStore.h"
#include "platform/linux/system/RtnetlinkPath.h"
#include "platform/linux/system/XdgFolders.h"
#include "platform/linux/x11/DesktopEntries.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11DisplayLayout.h"
#include "platform/linux/x11/X11WindowList.h"
#include "platform/linux/x11/X11Workspace.h"

#include <cstdlib>

namespace zelvo {

namespace {

/// A variable of the environment, which nobody changes while the program runs; nothing when unset or empty.
std::optional<std::string> variable(char const* name)
{
    char const* const value = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
    return value && *value ? std::optional<std::string>(value) : std::nullopt;
}

/// The screens without their pictures.
class ScreensOnly final : public ScreenSource {
public:
    explicit ScreensOnly(X11DisplayLayout& layout) : layout(layout) {}

    std::vector<Display> screens() override
    {
        std::vector<Display> all;
        for (DisplayLayout const& each : layout.all())
            all.push_back({.id = each.displayId,
                           .widthPoints = each.widthPixels / each.scale,
                           .heightPoints = each.heightPixels / each.scale,
                           .scaleFactor = each.scale});
        return all;
    }
    Task<std::vector<Display>> capturableDisplays() override { co_return screens(); }
    Task<Picture> capture(CaptureRequest) override
    {
        throw ScreenFailure{"pictures cannot be taken yet"};
        co_return Picture();
    }
    void observeScreens(std::function<void()> observer) override { layout.observe(std::move(observer)); }

private:
    X11DisplayLayout& layout;
};

/// The Linux machine: X11, D-Bus and the ordinary files. Members stand in the order in which they need each
/// other.
class LinuxPlatform final : public Platform {
public:
    explicit LinuxPlatform(Contexts const& contexts)
        : contexts(contexts), time(contexts.agent), settings(contexts.workers, xdg::defaultsFolder()),
          machineFacts("/", xdg::home()), path(contexts.agent), system(contexts.agent, time, openSystemBus),
          user(contexts.agent, time, openSessionBus),
          instance(contexts, time, openSessionBus, LinuxSingleInstance::lockFolder()),
          secretStore(contexts, time, xdg::keychainFolder(), watchSecrets()),
          assertions(contexts.agent, system, user), display(X11Connection::open()), layout(contexts, display),
          windowList(display, layout, entries), desktop(display, entries), screenSource(layout),
          posting(contexts, time, [this] { return layout.current(); }), key(contexts),
          sessionEvents(contexts,
                        time,
                        system,
                        user,
                        variable("DISPLAY").value_or(""),
                        [this] { return isReachable(); }),
          systemAccess(contexts.agent, time, user, displayFacts(), variable("AT_SPI_BUS_ADDRESS")),
          opener(contexts), loading(contexts)
    {
        system.start();
        user.start();
    }

    Clock& clock() override { return time; }
    InformationDictionary& information() override { return info; }
    UserDefaults& defaults() override { return settings; }
    SecretStore& secrets() override { return secretStore; }
    SingleInstance& singleInstance() override { return instance; }
    SessionEvents& session() override { return sessionEvents; }
    PowerAssertions& power() override { return assertions; }
    NetworkPath& network() override { return path; }
    HotKey& hotKey() override { return key; }
    Workspace& workspace() override { return desktop; }
    WindowList& windows() override { return windowList; }
    ScreenSource& screen() override { return screenSource; }
    EventPosting& events() override { return posting; }
    SystemAccess& access() override { return systemAccess; }
    MachineFacts& facts() override { return machineFacts; }
    WebSocketOpener& sockets() override { return opener; }
    HttpLoading& http() override { return loading; }

private:
    bool isReachable() const { return display && display->isAlive(); }

    DisplayFacts displayFacts()
    {
        return {.isReachable = [this] { return isReachable(); },
                .hasTestExtension = [this] { return display && display->capabilities().xtest; },
                .isXwayland = [this] { return display && display->capabilities().xwayland; }};
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
    LinuxMachineFacts machineFacts;
    RtnetlinkPath path;
    BusConnection system;
    BusConnection user;
    LinuxSingleInstance instance;
    LinuxSecretStore secretStore;
    LinuxPowerAssertions assertions;
    std::shared_ptr<X11Connection> display; ///< null when the X server cannot be reached
    X11DisplayLayout layout;
    DesktopEntries entries;
    X11WindowList windowList;
    X11Workspace desktop;
    ScreensOnly screenSource;
    X11EventPosting posting;
    X11HotKey key;
    LinuxSessionEvents sessionEvents;
    LinuxSystemAccess systemAccess;
    BeastWebSocketOpener opener;
    CurlHttpLoading loading;
};

} // namespace

std::unique_ptr<Platform> makePlatform(Contexts contexts)
{
    return std::make_unique<LinuxPlatform>(contexts);
}

} // namespace zelvo
