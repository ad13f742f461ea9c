#pragma once

#include "platform/linux/atspi/AtspiInquiry.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// Decides which questions about an element are worth a message, and in which order: its identity first, then
/// its details. Decides for one element at a time, alike for reading ahead and for waiting. Thread: one.
class AtspiElements {
public:
    using Index = AtspiNode::Index;

    AtspiElements(AtspiInquiry& inquiry, AtspiNodes& nodes) : inquiry(inquiry), nodes(nodes) {}

    /// Whether role, states and so on are known, as far as they can be known.
    bool isIdentified(Index index) const;
    void askIdentity(Index index);
    void identify(Index index);

    /// After isIdentified. False for a defunct element and for one without a known role.
    bool exists(Index index) const;
    bool isShowing(Index index) const;
    /// The questions that are worth a message; after isIdentified.
    std::vector<AtspiQuestion> details(Index index) const;
    /// The question whose answer contains the title, and so on.
    AtspiQuestion titleQuestion(Index index) const;
    AtspiQuestion descriptionQuestion(Index index) const;
    std::optional<AtspiQuestion> identifierQuestion(Index index) const;
    /// Whether its text may be read at all: false for a password field and inside one. `nullopt`: its
    /// interfaces decide.
    std::optional<bool> mayHaveValue(Index index) const;
    bool mayHaveTitle(Index index) const;
    /// False if it is known to lack an interface (of atspi::Interface).
    bool can(Index index, std::uint32_t interface) const;
    /// Whether it is a field whose name may be in a label beside it. Some toolkits copy the label's text to
    /// the field.
    bool mayBeLabelled(Index index) const;

    /// Chromium has built its web tree, so asking for attributes has no further effect.
    void noteWoken() { isWoken = true; }
    bool isAwake() const { return isWoken; }
    void noteRole(Index index);

private:
    AtspiInquiry& inquiry;
    AtspiNodes& nodes;
    bool isWoken = false;
};

} // namespace zelvo
