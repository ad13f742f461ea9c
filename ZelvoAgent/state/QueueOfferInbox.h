#pragma once

#include "base/LockedBox.h"
#include "state/QueuedCommandsOffer.h"

#include <functional>

namespace zelvo {

/// Hands offers from the router to their handler, so that the router need not know it. Thread: any.
struct QueueOfferInbox {
    using Handler = std::function<void(QueuedCommandsOffer)>;

    LockedBox<Handler> handler;

    /// The offer is lost if there is no handler yet.
    void deliver(QueuedCommandsOffer offer) const
    {
        if (Handler const take = handler.get())
            take(std::move(offer));
    }
};

} // namespace zelvo
