#pragma once

#include "desktop/harness/PrivateSession.h"
#include "fakes/FakeSecretStore.h"
#include "fakes/Run.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/linux/wayland/portal/PortalGrant.h"

#include <boost/asio/io_context.hpp>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::test {

/// A session bus with a front end of the portals that answers as a test says (scripted_portal.py).
class ScriptedPortal : public PrivateSession {
public:
    /// settings  NAME=VALUE, as the program has them
    explicit ScriptedPortal(std::vector<std::string> const& settings = {});

    void set(std::string const& name, std::string const& value);
    void withdraw();
    /// Presses the shortcut with that id.
    void activate(std::string const& id);
    /// Methods that were called and dialogs that were opened, as the program writes them.
    std::string calls() { return control("Calls"); }
    std::string events() { return control("Events"); }
    int dialogs();
    void endPortal();
    void startPortal();

private:
    std::string control(std::string const& method, std::vector<std::string> const& arguments = {});

    std::vector<std::string> settingsOfPortal;
    pid_t portal = 0;
};

/// The program's side of the portals, on the test's thread.
struct PortalClient {
    explicit PortalClient(PrivateSession const& desktop, Clock* otherClock = nullptr);
    ~PortalClient();
    void restart(std::string const& machine = "machine"); ///< as a new start of the program
    bool reaches(DesktopGrant::State state);
    std::optional<std::string> token() const;
    void keep(std::string const& text) { secrets.items[{PortalGrant::service, PortalGrant::account}] = text; }

    asio::io_context io;
    LinuxClock realClock;
    Clock& clock;
    FakeSecretStore secrets;
    std::string const address;
    std::unique_ptr<BusConnection> bus;
    std::shared_ptr<PortalRequests> requests;
    std::unique_ptr<PortalGrant> grant;
    std::vector<DesktopGrant::State> states; ///< that the grant had
};

} // namespace zelvo::test
