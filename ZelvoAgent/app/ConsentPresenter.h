#pragma once

#include "app/ConsentWindow.h"
#include "base/Task.h"
#include "drivers/PostingGate.h"
#include "gateway/LinkCoordinator.h"

#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// Opens the consent window when somebody asks for this machine or a link has failed, and closes it when that
/// is over. From before the window opens until it is closed no event of ours can answer it: the posting gate
/// is closed. Thread: main.
class ConsentPresenter {
public:
    ConsentPresenter(LinkCoordinator& coordinator, PostingGate& gate, Executor main);
    ~ConsentPresenter();
    ConsentPresenter(ConsentPresenter const&) = delete;
    ConsentPresenter& operator=(ConsentPresenter const&) = delete;

    /// Opens the window because the person asked for it, whatever it has to show, or brings it to the front.
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
    std::unique_ptr<ConsentWindow> window;
    bool isOpening = false;
    bool askedFor = false;      // By the person, not by an offer.
    bool failureIsOver = false; // The present error was answered or seen.
    bool wasBusy = false;
    std::optional<LinkOffer> lastOffer;
    std::shared_ptr<int> alive = std::make_shared<int>(); // Tasks that hold this weakly look at it.
    boost::signals2::scoped_connection following;
};

} // namespace zelvo
