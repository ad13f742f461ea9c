#pragma once

#include "app/ConsentWindow.h"
#include "base/Task.h"
#include "drivers/PostingGate.h"
#include "gateway/LinkCoordinator.h"

#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// Opens the consent window when somebody asks for this machine or a link has failed, and closes it
/// afterwards. The posting gate is closed from before the window opens until it is closed, so no agent can
/// answer it. Thread: main.
class ConsentPresenter {
public:
    ConsentPresenter(LinkCoordinator& coordinator, PostingGate& gate, Executor main, Clock& clock);
    ~ConsentPresenter();
    ConsentPresenter(ConsentPresenter const&) = delete;
    ConsentPresenter& operator=(ConsentPresenter const&) = delete;

    /// Opens the window at the person's request, whatever it shows, or brings it to the front.
    void show();
    bool isShown() const { return window != nullptr; }

private:
    void follow();
    void noteFailures();
    bool isWanted() const;
    void open();
    Task<> openWhenQuiet();
    void close();

    LinkCoordinator& coordinator;
    PostingGate& gate;
    Executor main;
    Clock& clock;
    std::unique_ptr<ConsentWindow> window;
    bool isOpening = false;
    bool askedFor = false;      // Opened by the person, not by an offer.
    bool failureIsOver = false; // The person has seen or answered the current error.
    bool wasBusy = false;
    std::optional<LinkOffer> lastOffer;
    std::shared_ptr<int> alive =
        std::make_shared<int>(); // Tasks hold this weakly to see whether the presenter still exists.
    boost::signals2::scoped_connection following;
};

} // namespace zelvo
