#pragma once

#include "base/LockedBox.h"
#include "state/QueuedCommandsOffer.h"

#include <functional>

namespace zelvo {

/// Where the router leaves offers without knowing who takes them. Thread: any.
struct QueueOfferInbox {
    using Handler = std::function<void(QueuedCommandsOffer)>;

    LockedBox<Handler> handler;

    /// Lost when there is no handler yet.
    void deliver(QueuedCommandsOffer offer) const
    {
        if (Handler const take = handler.get())
            take(std::move(offer));
    }
};

} // namespace zelvo
