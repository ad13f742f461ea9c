#pragma once

#include "platform/Updates.h"

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace zelvo {

/// Records its calls. A test reports progress and failures through `delegate`.
class FakeUpdates final : public Updates {
public:
    int started = 0;
    int checked = 0;
    int confirmed = 0;
    int installed = 0;
    int ended = 0;
    std::optional<UpdateItem> pending;   ///< what installOnQuit() installs
    std::optional<std::string> previous; ///< the answer of begin()
    UpdateDelegate* listener = nullptr;
    std::function<void()> onStart;

    UpdateDelegate& delegate() const
    {
        if (!listener)
            throw std::logic_error("the updates have not started");
        return *listener;
    }
    void fail(std::string description) const { delegate().didAbort({.description = std::move(description)}); }
    void findNothing() const
    {
        delegate().didAbort({.code = UpdateAbort::nothingFound, .description = "There is nothing newer."});
    }

    std::optional<std::string> begin() override { return previous; }
    std::unique_ptr<UpdateController> start(UpdateDelegate& to) override
    {
        ++started;
        listener = &to;
        if (onStart)
            onStart();
        return std::make_unique<Controller>(*this);
    }

private:
    class Controller final : public UpdateController {
    public:
        explicit Controller(FakeUpdates& updates) : updates(updates) {}
        Controller(Controller const&) = delete;
        Controller& operator=(Controller const&) = delete;
        ~Controller() override
        {
            ++updates.ended;
            updates.listener = nullptr;
        }
        void checkForUpdates() override { ++updates.checked; }
        void confirmVersion() override { ++updates.confirmed; }
        bool installOnQuit() override
        {
            if (updates.pending)
                updates.delegate().willInstallUpdateOnQuit(*updates.pending);
            updates.installed += updates.pending ? 1 : 0;
            return updates.pending.has_value();
        }

    private:
        FakeUpdates& updates;
    };
};

} // namespace zelvo
