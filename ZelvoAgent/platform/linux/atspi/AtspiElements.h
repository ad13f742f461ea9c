#pragma once

#include "platform/linux/atspi/AtspiInquiry.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// What is worth asking about an element, and in which order: first what it is, then what it says. Decides
/// for one element at a time, and is the same for those that are asked ahead and those that are waited for.
/// Thread: one.
class AtspiElements {
public:
    using Index = AtspiNode::Index;

    AtspiElements(AtspiInquiry& inquiry, AtspiNodes& nodes) : inquiry(inquiry), nodes(nodes) {}

    /// Is it known what it is, as far as that can be known?
    bool isIdentified(Index index) const;
    void askIdentity(Index index);
    void identify(Index index);

    /// After isIdentified. An element that says it is defunct, and one of no known role, are nothing.
    bool exists(Index index) const;
    bool isShowing(Index index) const;
    /// Those of its questions that are worth a message; after isIdentified.
    std::vector<AtspiQuestion> details(Index index) const;
    /// The question whose answer has the title, and so on.
    AtspiQuestion titleQuestion(Index index) const;
    AtspiQuestion descriptionQuestion(Index index) const;
    std::optional<AtspiQuestion> identifierQuestion(Index index) const;
    /// May its text be read at all? Never for a password field, nor inside one. Nothing: its interfaces
    /// decide.
    std::optional<bool> mayHaveValue(Index index) const;
    bool mayHaveTitle(Index index) const;
    /// False when it is known to lack an interface (of atspi::Interface).
    bool can(Index index, std::uint32_t interface) const;
    /// Is it a field whose name may stand in a label beside it? Some toolkits give the label's words to the
    /// field themselves.
    bool mayBeLabelled(Index index) const;

    /// Chromium has built its web tree; asking for attributes changes nothing any more.
    void noteWoken() { isWoken = true; }
    bool isAwake() const { return isWoken; }
    void noteRole(Index index);

private:
    AtspiInquiry& inquiry;
    AtspiNodes& nodes;
    bool isWoken = false;
};

} // namespace zelvo
