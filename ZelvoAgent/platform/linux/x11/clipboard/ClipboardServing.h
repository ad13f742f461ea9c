#pragma once

#include "platform/linux/x11/clipboard/ClipboardTransfers.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace zelvo {

/// The owner's side of the clipboard: takes the selection and converts the text for requestors. Thread:
/// agent.
class ClipboardServing {
public:
    ClipboardServing(ClipboardLink& link, Clock& clock) : link(link), open(link, clock) {}

    /// Takes the selection for a text.
    /// done  whether the server granted it
    void own(std::shared_ptr<OfferedText const> text, std::function<void(bool)> done);
    /// The text that is offered; null if another program has the selection.
    std::shared_ptr<OfferedText const> const& text() const { return offered; }
    /// The targets that it is offered in.
    std::vector<std::uint32_t> forms() const;

    void noteRequest(void const* event);
    void noteClear(void const* event);
    ClipboardTransfers& transfers() { return open; }

private:
    struct Asked { ///< a request, as it has to be answered
        std::uint32_t requestor = 0;
        std::uint32_t selection = 0;
        std::uint32_t target = 0;
        std::uint32_t property = 0;
        std::uint32_t time = 0;
    };
    void take(std::shared_ptr<OfferedText const> text, std::uint32_t time, std::function<void(bool)> done);
    bool concerns(Asked const& asked) const;
    bool convert(std::uint32_t target, ClipboardPlace place);
    bool giveText(std::uint32_t target, ClipboardPlace place);
    void giveNumbers(ClipboardPlace place, std::uint32_t type, std::vector<std::uint32_t> const& numbers);
    void convertSeveral(Asked asked);
    bool convertPairs(Asked const& asked, std::vector<AtomPair> pairs);
    void answer(Asked const& asked, bool given);

    ClipboardLink& link;
    ClipboardTransfers open;
    std::shared_ptr<OfferedText const> offered;
    std::uint32_t since = 0; ///< the server's time when we took the selection
    std::uint32_t claim = 0; ///< the sequence number of the request that took it
    std::size_t listsAsked = 0;
};

} // namespace zelvo
