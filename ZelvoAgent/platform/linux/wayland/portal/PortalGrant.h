#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/SecretStore.h"
#include "platform/linux/wayland/DesktopGrant.h"
#include "platform/linux/wayland/portal/PortalSession.h"

#include <memory>
#include <string>

namespace zelvo {

/// The grant of the desktop's portals, as one session that is kept open. Its token for the next start of the
/// program is in the secret store, together with the machine that it is good for. Nothing is asked of the
/// desktop before ask(), or before resume() finds a token.
class PortalGrant final : public DesktopGrant {
public:
    static constexpr char const* service = "dev.zelvo.agent"; ///< in the secret store
    static constexpr char const* account = "desktop-grant";
    /// While it is proved that the person withdrew the grant: a program that ends meanwhile does not take the
    /// grant up at its next start.
    static constexpr char const* withdrawnAccount = "desktop-grant-withdrawn";
    static constexpr Duration patience = 5min;      ///< with the dialog
    static constexpr Duration resumePatience = 10s; ///< what takes longer has opened a dialog
    /// A session that the person ends is not taken up again. A desktop that shuts down also ends it, but is
    /// gone after this time.
    static constexpr Duration withdrawalProof = 5s;
    static constexpr Duration proofPace = 100ms;
    /// GNOME ends the session at each lock of the screen, and may say so before it says that it locks.
    static constexpr Duration lockProof = 2s;

    /// machine  names this machine: a token of another one is dropped
    /// secrets  must outlive this
    PortalGrant(Contexts const& contexts,
                Clock& clock,
                std::shared_ptr<PortalRequests> requests,
                SecretStore& secrets,
                std::string machine);
    ~PortalGrant() override;

    State state() const override;
    void ask() override;
    void resume() override;
    void observe(std::function<void(State)> observer) override;
    void setSurroundings(Surroundings surroundings) override;
    void noteUnlock() override;
    /// Null unless something is granted. Thread: any.
    std::shared_ptr<PortalSession> session() const;

private:
    class Holder;
    Executor agent;
    std::shared_ptr<Holder> holder;
};

} // namespace zelvo
