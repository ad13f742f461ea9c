#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/EventPosting.h"
#include "platform/KeyboardLayout.h"
#include "platform/linux/screen/DisplayLayout.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zelvo {

/// Makes events with the XTEST extension, on a connection of its own. Modifiers of an event are really
/// pressed and released around it, but for those that somebody else holds down. When it is made it gives back
/// what a killed process left: bound keys, and keys and buttons held down. Thread: as EventPosting; what
/// waits for the server runs on the workers, pointerLocation() is one query. Failures: without a server,
/// XTEST or the keyboard extension every event gives false.
class X11EventPosting final : public EventPosting, public KeyboardLayout {
public:
    /// `layout` tells how points lie on the screen; it is called from any thread.
    X11EventPosting(Contexts contexts, Clock& clock, std::function<DisplayLayout()> layout);
    ~X11EventPosting() override;

    Task<> ready(PostedEvent event) override;
    Task<bool> post(PostedEvent event) override;
    Task<> beginText(std::string text) override;
    Task<> endText() override;
    Task<> releaseAll() override;
    Task<> drained() override;
    Task<bool> delivered() override;
    DesktopPoint pointerLocation() override;
    Task<std::vector<std::vector<std::string>>> chordsOf(KeyEvent event) override;

private:
    class Machine;

    Task<> waitForClickOfItsOwn(MouseEvent event);
    Task<> waitForRelease();

    Contexts contexts;
    Clock& clock;
    std::unique_ptr<Machine> machine; ///< nothing without a usable server
};

} // namespace zelvo
