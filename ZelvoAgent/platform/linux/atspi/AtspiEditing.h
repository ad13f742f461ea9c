#pragma once

#include "platform/Accessibility.h"
#include "platform/linux/atspi/AtspiInquiry.h"

#include <cstdint>
#include <optional>
#include <string>

namespace zelvo {

/// Changes elements, and reads what a change made of them. Each call waits for the application. Thread: one;
/// blocks.
class AtspiEditing {
public:
    using Index = AtspiNode::Index;

    AtspiEditing(AtspiInquiry& inquiry, AtspiNodes& nodes) : inquiry(inquiry), nodes(nodes) {}

    /// Whether text can be put into it without key events.
    bool isEditable(Index index);
    /// Whether it shows its text; a password field does not.
    bool isReadable(Index index);
    bool isTerminal(Index index);

    /// Puts text where the caret is, in place of what is selected, and the caret behind it. False if the text
    /// is not there afterwards. Where the text cannot be read back, the application's answer counts. text
    /// UTF-8
    bool insert(Index index, std::string const& text);
    /// Replaces all of its text; refused if it is not there afterwards, as above.
    ElementDeed replace(Index index, std::string const& text);
    /// Whether this text is just before the caret.
    bool isBeforeCaret(Index index, std::string const& text);
    /// Performs the action that presses it.
    ElementDeed press(Index index);

private:
    struct Range {
        std::int32_t start = 0;
        std::int32_t end = 0;
    };

    bool has(Index index, std::uint32_t interface);
    bool takesInput(Index index);
    /// Calls a method that answers whether it did it.
    ElementDeed
    perform(Index index, char const* interface, char const* member, AtspiInquiry::Arguments const& arguments);
    std::optional<std::int32_t> number(Index index, char const* property);
    std::optional<std::string> textIn(Index index, Range range);
    std::optional<Range> selection(Index index);
    bool insertAt(Index index, std::int32_t offset, std::string const& text);

    AtspiInquiry& inquiry;
    AtspiNodes& nodes;
};

} // namespace zelvo
