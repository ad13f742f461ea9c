#include "app/ConsentPresenter.h"

namespace zelvo {

ConsentPresenter::ConsentPresenter(LinkCoordinator& coordinator,
                                   PostingGate& gate,
                                   Executor main,
                                   Clock& clock)
    : coordinator(coordinator), gate(gate), main(std::move(main)), clock(clock)
{
    following = coordinator.changed.connect([this] { follow(); });
}

ConsentPresenter::~ConsentPresenter() = default;

void ConsentPresenter::show()
{
    askedFor = true;
    open();
}

void ConsentPresenter::follow()
{
    bool const isNewOffer = coordinator.offer() && coordinator.offer() != lastOffer;
    noteFailures();
    if (isWanted() && (!window || isNewOffer))
        open();
    else if (window && !isWanted())
        close();
}

// An error stays in the coordinator until the next offer. It is shown only while it is new: not after its
// offer was answered, and not while the next request is being resolved.
void ConsentPresenter::noteFailures()
{
    bool const requestBegins = coordinator.isBusy() && !wasBusy;
    bool const offerIsGone = lastOffer && !coordinator.offer();
    if (requestBegins)
        failureIsOver = false;
    if (offerIsGone) {
        failureIsOver = true;
        askedFor = false;
    }
    wasBusy = coordinator.isBusy();
    lastOffer = coordinator.offer();
}

bool ConsentPresenter::isWanted() const
{
    bool const hasFailed = coordinator.error() && !coordinator.isBusy() && !failureIsOver;
    return askedFor || coordinator.offer() || hasFailed;
}

void ConsentPresenter::open()
{
    if (window) {
        window->bringToFront();
        return;
    }
    if (isOpening)
        return;
    isOpening = true;
    spawn(main, [this, weak = std::weak_ptr(alive)]() -> Task<> {
        if (!weak.expired())
            co_await openWhenQuiet();
    });
}

Task<> ConsentPresenter::openWhenQuiet()
{
    std::weak_ptr const weak = alive;
    co_await gate.close();
    if (weak.expired())
        co_return;
    isOpening = false;
    if (!isWanted()) {
        gate.open();
        co_return;
    }
    window = std::make_unique<ConsentWindow>(coordinator, main, clock);
    window->onClosed = [this] {
        failureIsOver = true;
        askedFor = false;
        close();
    };
    window->bringToFront();
}

void ConsentPresenter::close()
{
    if (!window)
        return;
    window->hide();
    window.release()->deleteLater(); // The call may come from one of the window's own buttons.
    gate.open();
}

} // namespace zelvo
