#pragma once

#include "base/Contexts.h"
#include "platform/HotKey.h"

#include <memory>

namespace zelvo {

/// The hot key as a passive grab on the root window, for every state of the lock keys. It follows changes of
/// the keymap. Thread: start() once, on any. The connection is watched on the agent thread, and read on the
/// workers.
class X11HotKey final : public HotKey {
public:
    explicit X11HotKey(Contexts contexts);
    ~X11HotKey() override;

    void start(std::function<void()> onPressed) override;

private:
    class Listener;

    Contexts contexts;
    std::shared_ptr<Listener> listener;
};

} // namespace zelvo
