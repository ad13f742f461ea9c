#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/Accessibility.h"
#include "platform/ChildProcess.h"
#include "platform/DrawingWatch.h"
#include "platform/EventPosting.h"
#include "platform/FileReveal.h"
#include "platform/FileSystem.h"
#include "platform/FrontChanges.h"
#include "platform/HotKey.h"
#include "platform/HttpLoading.h"
#include "platform/InformationDictionary.h"
#include "platform/Installation.h"
#include "platform/InterfaceWatch.h"
#include "platform/KeyboardLayout.h"
#include "platform/MachineFacts.h"
#include "platform/NetworkPath.h"
#include "platform/OverlayWindows.h"
#include "platform/Pasteboard.h"
#include "platform/PointerPresses.h"
#include "platform/PowerAssertion.h"
#include "platform/ScreenSource.h"
#include "platform/ScreenStream.h"
#include "platform/SecretStore.h"
#include "platform/SessionEvents.h"
#include "platform/SingleInstance.h"
#include "platform/SystemAccess.h"
#include "platform/SystemTray.h"
#include "platform/Updates.h"
#include "platform/UserDefaults.h"
#include "platform/UserNotifications.h"
#include "platform/VideoFile.h"
#include "platform/VideoFolders.h"
#include "platform/WebSocket.h"
#include "platform/WindowFocus.h"
#include "platform/WindowList.h"
#include "platform/Workspace.h"

#include <memory>

namespace zelvo {

/// Everything that the program needs of a machine. The returned objects live as long as the platform.
/// Made by: platform/linux/LinuxPlatform, tests/fakes/FakePlatform.
class Platform {
public:
    virtual ~Platform() = default;

    virtual Clock& clock() = 0;
    virtual InformationDictionary& information() = 0;
    virtual UserDefaults& defaults() = 0;
    virtual FileSystem& files() = 0;
    virtual SecretStore& secrets() = 0;
    virtual SingleInstance& singleInstance() = 0;
    virtual Installation& installation() = 0;
    virtual Updates& updates() = 0;
    virtual SessionEvents& session() = 0;
    virtual PowerAssertions& power() = 0;
    virtual UserNotifications& notifications() = 0;
    virtual NetworkPath& network() = 0;
    virtual HotKey& hotKey() = 0;
    virtual SystemTray& tray() = 0;
    virtual Workspace& workspace() = 0;
    virtual WindowList& windows() = 0;
    virtual WindowFocus& focus() = 0;
    virtual FrontChanges& frontChanges() = 0;
    virtual Accessibility& accessibility() = 0;
    virtual InterfaceWatches& interfaces() = 0;
    virtual ScreenSource& screen() = 0;
    virtual ScreenStreams& screenStreams() = 0;
    virtual DrawingWatches& drawings() = 0;
    virtual VideoFiles& videos() = 0;
    virtual VideoFolders& videoFolders() = 0;
    virtual FileReveal& reveal() = 0;
    virtual EventPosting& events() = 0;
    virtual PointerPresses& presses() = 0;
    virtual KeyboardLayout& keyboardLayout() = 0;
    virtual Pasteboard& pasteboard() = 0;
    virtual OverlayWindows& overlays() = 0;
    virtual SystemAccess& access() = 0;
    virtual MachineFacts& facts() = 0;
    virtual WebSocketOpener& sockets() = 0;
    virtual HttpLoading& http() = 0;
    virtual ChildProcesses& children() = 0;
};

/// The machine that this program was built for. The contexts must outlive it; Contexts::agent must run on an
/// io_context.
std::unique_ptr<Platform> makePlatform(Contexts contexts);

} // namespace zelvo
