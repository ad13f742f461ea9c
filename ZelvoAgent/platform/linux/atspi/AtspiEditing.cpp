#include "platform/linux/atspi/AtspiEditing.h"

#include "platform/linux/atspi/AtspiActions.h"
#include "platform/linux/atspi/AtspiMessages.h"

#include <algorithm>
#include <array>

namespace zelvo {

namespace {

constexpr char const* editableText = "org.a11y.atspi.EditableText";
constexpr char const* textInterface = "org.a11y.atspi.Text";
constexpr char const* action = "org.a11y.atspi.Action";
constexpr char const* properties = "org.freedesktop.DBus.Properties";

constexpr std::int32_t maxActions = 16;

std::int32_t charactersOf(std::string const& text)
{
    return static_cast<std::int32_t>(std::ranges::count_if(
        text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
}

std::optional<bool> readFlag(sd_bus_message* reply)
{
    int flag = 0;
    return sd_bus_message_read(reply, "b", &flag) > 0 ? std::optional(flag != 0) : std::nullopt;
}

/// The lengths to be announced with a text: toolkits count bytes, characters or units of UTF-16, and a length
/// that is too large makes some of them read beyond the text. So the smallest one is tried first.
std::array<std::int32_t, 2> announcedLengths(std::string const& text)
{
    return {charactersOf(text), static_cast<std::int32_t>(text.size())};
}

} // namespace

bool AtspiEditing::has(Index index, std::uint32_t interface)
{
    inquiry.ensure(index, AtspiQuestion::interfaces);
    auto const& known = nodes[index].interfaces;
    return known && (*known & interface) != 0;
}

bool AtspiEditing::isEditable(Index index)
{
    inquiry.ensure(index, AtspiQuestion::states);
    return nodes[index].has(AtspiState::editable) && has(index, atspi::hasEditableText);
}

bool AtspiEditing::isReadable(Index index)
{
    inquiry.ensure(index, AtspiQuestion::role);
    return !nodes.isSecret(index) && has(index, atspi::hasText);
}

bool AtspiEditing::isTerminal(Index index)
{
    inquiry.ensure(index, AtspiQuestion::role);
    return nodes[index].role == AtspiRole::terminal;
}

std::optional<std::int32_t> AtspiEditing::number(Index index, char const* property)
{
    std::optional<std::int32_t> value;
    inquiry.call(
        index, properties, "Get",
        [&](sd_bus_message* call) { sd_bus_message_append(call, "ss", textInterface, property); },
        [&](sd_bus_message* reply) { value = atspi::readNumberProperty(reply); });
    return value;
}

std::optional<std::string> AtspiEditing::textIn(Index index, Range range)
{
    std::optional<std::string> text;
    inquiry.call(
        index, textInterface, "GetText",
        [&](sd_bus_message* call) { sd_bus_message_append(call, "ii", range.start, range.end); },
        [&](sd_bus_message* reply) { text = atspi::readBoundedText(reply); });
    return text;
}

std::optional<AtspiEditing::Range> AtspiEditing::selection(Index index)
{
    Range range;
    bool isThere = false;
    inquiry.call(
        index, textInterface, "GetSelection",
        [](sd_bus_message* call) { sd_bus_message_append(call, "i", 0); },
        [&](sd_bus_message* reply) {
            isThere = sd_bus_message_read(reply, "ii", &range.start, &range.end) > 0;
        });
    return isThere && range.start >= 0 && range.end > range.start ? std::optional(range) : std::nullopt;
}

bool AtspiEditing::insertAt(Index index, std::int32_t offset, std::string const& text)
{
    Range const place{offset, offset + charactersOf(text)};
    bool const canCheck = isReadable(index);
    auto const count = number(index, "CharacterCount");
    for (std::int32_t const length : announcedLengths(text)) {
        bool accepted = false;
        inquiry.call(
            index, editableText, "InsertText",
            [&](sd_bus_message* call) { sd_bus_message_append(call, "isi", offset, text.c_str(), length); },
            [&](sd_bus_message* reply) { accepted = readFlag(reply).value_or(false); });
        if (!accepted || !canCheck)
            return accepted;
        if (textIn(index, place) == text)
            return true;
        // A part of it may have arrived.
        auto const now = number(index, "CharacterCount");
        if (count && now && *now > *count)
            inquiry.call(index, editableText, "DeleteText", [&](sd_bus_message* call) {
                sd_bus_message_append(call, "ii", offset, offset + (*now - *count));
            });
    }
    return false;
}

bool AtspiEditing::insert(Index index, std::string const& text)
{
    if (auto const chosen = selection(index))
        inquiry.call(index, editableText, "DeleteText", [&](sd_bus_message* call) {
            sd_bus_message_append(call, "ii", chosen->start, chosen->end);
        });
    auto const caret = number(index, "CaretOffset");
    if (!caret || *caret < 0 || !insertAt(index, *caret, text))
        return false;
    inquiry.call(index, textInterface, "SetCaretOffset", [&](sd_bus_message* call) {
        sd_bus_message_append(call, "i", *caret + charactersOf(text));
    });
    return true;
}

bool AtspiEditing::takesInput(Index index)
{
    inquiry.ensure(index, AtspiQuestion::states);
    return nodes[index].has(AtspiState::enabled) && nodes[index].has(AtspiState::sensitive);
}

ElementDeed AtspiEditing::perform(Index index,
                                  char const* interface,
                                  char const* member,
                                  AtspiInquiry::Arguments const& arguments)
{
    if (!inquiry.isPatient(index))
        return ElementDeed::refused; // Nothing was sent.
    bool isDone = false;
    bool const isAnswered = inquiry.call(index, interface, member, arguments, [&](sd_bus_message* reply) {
        isDone = readFlag(reply).value_or(false);
    });
    // A dialog that the press opens may keep the application from answering until it is closed.
    if (!isAnswered && !inquiry.isPatient(index))
        return ElementDeed::done;
    return isDone ? ElementDeed::done : ElementDeed::refused;
}

ElementDeed AtspiEditing::replace(Index index, std::string const& text)
{
    if (!isEditable(index))
        return ElementDeed::impossible;
    if (!takesInput(index))
        return ElementDeed::refused;
    ElementDeed const deed = perform(index, editableText, "SetTextContents", [&](sd_bus_message* call) {
        sd_bus_message_append(call, "s", text.c_str());
    });
    if (deed != ElementDeed::done || !isReadable(index) || !inquiry.isPatient(index))
        return deed;
    bool const isThere = textIn(index, {0, charactersOf(text)}) == text &&
                         number(index, "CharacterCount") == charactersOf(text);
    return isThere ? ElementDeed::done : ElementDeed::refused;
}

bool AtspiEditing::isBeforeCaret(Index index, std::string const& text)
{
    auto const caret = number(index, "CaretOffset");
    std::int32_t const count = charactersOf(text);
    return caret && *caret >= count && textIn(index, {*caret - count, *caret}) == text;
}

ElementDeed AtspiEditing::press(Index index)
{
    if (!has(index, atspi::hasAction))
        return ElementDeed::impossible;
    if (!takesInput(index))
        return ElementDeed::refused;
    for (std::int32_t at = 0; at < maxActions; ++at) {
        std::optional<std::string> name;
        auto const which = [&](sd_bus_message* call) { sd_bus_message_append(call, "i", at); };
        inquiry.call(index, action, "GetName", which,
                     [&](sd_bus_message* reply) { name = atspi::readBoundedText(reply); });
        if (!name || name->empty())
            return ElementDeed::impossible;
        if (axActionsOf({*name}) == std::vector<std::string>{"AXPress"})
            return perform(index, action, "DoAction", which);
    }
    return ElementDeed::impossible;
}

} // namespace zelvo
