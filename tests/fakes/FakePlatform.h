#pragma once

#include "fakes/FakeAccessibility.h"
#include "fakes/FakeChildProcesses.h"
#include "fakes/FakeDesktop.h"
#include "fakes/FakeDrawingWatches.h"
#include "fakes/FakeEventPosting.h"
#include "fakes/FakeFileReveal.h"
#include "fakes/FakeFileSystem.h"
#include "fakes/FakeFrontChanges.h"
#include "fakes/FakeHttpLoading.h"
#include "fakes/FakeInstallation.h"
#include "fakes/FakeInterfaceWatches.h"
#include "fakes/FakeKeyboardLayout.h"
#include "fakes/FakeOverlayWindows.h"
#include "fakes/FakePasteboard.h"
#include "fakes/FakePointerPresses.h"
#include "fakes/FakeScreenSource.h"
#include "fakes/FakeScreenStreams.h"
#include "fakes/FakeSecretStore.h"
#include "fakes/FakeUpdates.h"
#include "fakes/FakeUserDefaults.h"
#include "fakes/FakeUserNotifications.h"
#include "fakes/FakeVideoFiles.h"
#include "fakes/FakeVideoFolders.h"
#include "fakes/FakeWebSocket.h"
#include "fakes/FakeWindowFocus.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"
#include "platform/Platform.h"

#include <boost/asio/io_context.hpp>

namespace zelvo {

/// A whole machine in memory, on one thread and the manual clock.
class FakePlatform final : public Platform {
public:
    asio::io_context io;
    Contexts contexts = contextsOn(io);
    ManualClock time{&io};
    FakeInformationDictionary info;
    FakeUserDefaults settings;
    FakeFileSystem fileSystem;
    FakeSecretStore secretStore;
    FakeSingleInstance instance;
    FakeInstallation installed;
    FakeUpdates programUpdates;
    FakeSessionEvents sessionEvents;
    FakePowerAssertions assertions;
    FakeUserNotifications notices;
    FakeNetworkPath path;
    FakeHotKey key;
    FakeSystemTray systemTray;
    FakeWorkspace desktop;
    FakeWindowList windowList;
    FakeWindowFocus windowFocus;
    FakeFrontChanges fronts;
    FakeAccessibility elements;
    FakeInterfaceWatches interfaceWatches;
    FakeScreenSource screenSource;
    FakeScreenStreams streams;
    FakeDrawingWatches drawingWatches;
    FakeVideoFiles recordings;
    FakeVideoFolders recordingFolders;
    FakeFileReveal fileReveal;
    FakeEventPosting posting;
    FakePointerPresses pointerPresses;
    FakeKeyboardLayout layout;
    FakePasteboard clipboard;
    FakeOverlayWindows overlayWindows;
    FakeSystemAccess systemAccess;
    FakeMachineFacts machineFacts;
    FakeWebSocketOpener opener;
    FakeHttpLoading loading;
    FakeChildProcesses processes;
    /// What a test has of a real desktop, instead of the fakes.
    struct Real {
        Workspace* workspace = nullptr;
        WindowList* windows = nullptr;
        Accessibility* elements = nullptr;
    } real;

    /// Breaks the cycle between a socket and its waiting reader. The reader does not run again; it is
    /// destroyed with the io_context.
    ~FakePlatform() override
    {
        for (auto const& socket : opener.opened)
            socket->cancel(std::nullopt);
    }

    /// Runs ready handlers until there are none.
    void settle() { zelvo::settle(io); }

    Clock& clock() override { return time; }
    InformationDictionary& information() override { return info; }
    UserDefaults& defaults() override { return settings; }
    FileSystem& files() override { return fileSystem; }
    SecretStore& secrets() override { return secretStore; }
    SingleInstance& singleInstance() override { return instance; }
    Installation& installation() override { return installed; }
    Updates& updates() override { return programUpdates; }
    SessionEvents& session() override { return sessionEvents; }
    PowerAssertions& power() override { return assertions; }
    UserNotifications& notifications() override { return notices; }
    NetworkPath& network() override { return path; }
    HotKey& hotKey() override { return key; }
    SystemTray& tray() override { return systemTray; }
    Workspace& workspace() override { return real.workspace ? *real.workspace : desktop; }
    WindowList& windows() override { return real.windows ? *real.windows : windowList; }
    WindowFocus& focus() override { return windowFocus; }
    FrontChanges& frontChanges() override { return fronts; }
    Accessibility& accessibility() override { return real.elements ? *real.elements : elements; }
    InterfaceWatches& interfaces() override { return interfaceWatches; }
    ScreenSource& screen() override { return screenSource; }
    ScreenStreams& screenStreams() override { return streams; }
    DrawingWatches& drawings() override { return drawingWatches; }
    VideoFiles& videos() override { return recordings; }
    VideoFolders& videoFolders() override { return recordingFolders; }
    FileReveal& reveal() override { return fileReveal; }
    EventPosting& events() override { return posting; }
    PointerPresses& presses() override { return pointerPresses; }
    KeyboardLayout& keyboardLayout() override { return layout; }
    Pasteboard& pasteboard() override { return clipboard; }
    OverlayWindows& overlays() override { return overlayWindows; }
    SystemAccess& access() override { return systemAccess; }
    MachineFacts& facts() override { return machineFacts; }
    WebSocketOpener& sockets() override { return opener; }
    HttpLoading& http() override { return loading; }
    ChildProcesses& children() override { return processes; }
};

} // namespace zelvo
