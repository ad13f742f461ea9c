#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/HotKey.h"
#include "platform/linux/wayland/portal/PortalRequests.h"

#include <functional>
#include <memory>
#include <string>

namespace zelvo {

/// The hot key as a shortcut of the portal GlobalShortcuts. The desktop may ask the person about it, and may
/// give it another key than the one we prefer. Thread: any.
class PortalHotKey final : public HotKey {
public:
    enum class State {
        notAsked, ///< bind() was not called, or nobody answered
        asking,
        available,
        refused, ///< by the person, or the desktop has no key for it
        missing, ///< the desktop has no such portal
    };
    static constexpr char const* trigger = "CTRL+ALT+LOGO+p";
    static constexpr Duration patience = 5min;   ///< with the desktop's dialog
    static constexpr Duration repeatGap = 300ms; ///< what follows faster is a repeat of a key that is held

    /// description  what the person reads in the desktop's settings
    PortalHotKey(Contexts const& contexts,
                 Clock& clock,
                 std::shared_ptr<PortalRequests> requests,
                 std::string description);
    ~PortalHotKey() override;

    /// Asks for nothing: that is bind().
    void start(std::function<void()> onPressed) override;
    /// Asks the desktop for the key, once the person granted the rest. Does nothing while that runs or when
    /// the key is available.
    void bind();
    State state() const;
    /// Calls the observer on the agent executor after each change of state. Set at start.
    void observe(std::function<void(State)> observer);

private:
    class Binding;
    Executor agent;
    std::shared_ptr<Binding> binding;
};

} // namespace zelvo
