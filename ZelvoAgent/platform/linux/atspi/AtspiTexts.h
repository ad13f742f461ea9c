#pragma once

#include "platform/linux/atspi/AtspiElements.h"
#include "platform/linux/atspi/AtspiInquiry.h"

#include <optional>
#include <string>

namespace zelvo {

/// Reads the texts that describe an element. `nullopt` is an absent or empty text. Thread: one; blocks.
class AtspiTexts {
public:
    using Index = AtspiNode::Index;

    AtspiTexts(AtspiInquiry& inquiry, AtspiNodes& nodes, AtspiElements& known)
        : inquiry(inquiry), nodes(nodes), known(known)
    {
    }

    /// Its name, else the name of its label.
    std::optional<std::string> titleOf(Index index);
    std::optional<std::string> descriptionOf(Index index);
    std::optional<std::string> helpOf(Index index);
    std::optional<std::string> identifierOf(Index index);
    /// May be empty.
    std::optional<std::string> valueOf(Index index);

private:
    std::optional<std::string> nameOf(Index index);
    std::optional<std::string>
    answered(Index index, AtspiQuestion question, std::optional<std::string> AtspiNode::* answer);

    AtspiInquiry& inquiry;
    AtspiNodes& nodes;
    AtspiElements& known;
};

} // namespace zelvo
