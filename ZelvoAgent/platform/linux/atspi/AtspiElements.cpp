#include "platform/linux/atspi/AtspiElements.h"

namespace zelvo {

using enum AtspiQuestion;

bool AtspiElements::isIdentified(Index index) const
{
    return nodes[index].isAnswered(role) && nodes[index].isAnswered(states);
}

void AtspiElements::askIdentity(Index index)
{
    inquiry.ask(index, role);
    inquiry.ask(index, states);
}

void AtspiElements::identify(Index index)
{
    inquiry.ensure(index, role);
    if (nodes[index].role)
        inquiry.ensure(index, states);
}

bool AtspiElements::exists(Index index) const
{
    AtspiNode const& node = nodes[index];
    return node.role && !node.has(AtspiState::defunct);
}

bool AtspiElements::isShowing(Index index) const
{
    return exists(index) && nodes[index].has(AtspiState::showing);
}

AtspiQuestion AtspiElements::titleQuestion(Index index) const
{
    if (nodes[index].isAnswered(name))
        return name;
    return inquiry.toolkitOf(nodes[index].peer).takesGetAll ? properties : name;
}

AtspiQuestion AtspiElements::descriptionQuestion(Index index) const
{
    if (nodes[index].isAnswered(description))
        return description;
    return inquiry.toolkitOf(nodes[index].peer).takesGetAll ? properties : description;
}

std::optional<AtspiQuestion> AtspiElements::identifierQuestion(Index index) const
{
    AtspiToolkit const toolkit = inquiry.toolkitOf(nodes[index].peer);
    if (toolkit.givesAttributes)
        return isWoken ? std::optional(identifier) : std::nullopt;
    return toolkit.takesGetAll && mayHaveTitle(index) ? std::optional(properties) : std::nullopt;
}

bool AtspiElements::can(Index index, std::uint32_t interface) const
{
    auto const& known = nodes[index].interfaces;
    return !known || (*known & interface) != 0;
}

std::optional<bool> AtspiElements::mayHaveValue(Index index) const
{
    if (!exists(index) || nodes.isSecret(index))
        return false;
    AtspiNode const& node = nodes[index];
    if (node.has(AtspiState::editable))
        return can(index, atspi::hasText);
    std::string_view const ax = nodes.axRole(index).role;
    if (ax != "AXTextField" && ax != "AXTextArea" && ax != "AXComboBox")
        return false;
    if (!node.isAnswered(interfaces))
        return std::nullopt;
    return node.interfaces && (*node.interfaces & atspi::hasEditableText) != 0;
}

bool AtspiElements::mayHaveTitle(Index index) const
{
    // A label inside a password field could be the typed text. The field's own name is safe.
    return nodes[index].role == AtspiRole::passwordText || !nodes.isSecret(index) ||
           !isTextRole(nodes.axRole(index).role);
}

bool AtspiElements::mayBeLabelled(Index index) const
{
    // The question would wake Chromium, which copies the labels' text anyway.
    if (inquiry.toolkitOf(nodes[index].peer).givesAttributes)
        return false;
    std::string_view const ax = nodes.axRole(index).role;
    return ax == "AXTextField" || ax == "AXTextArea" || ax == "AXSecureTextField" || ax == "AXComboBox" ||
           ax == "AXPopUpButton" || ax == "AXSlider" || ax == "AXCheckBox" || ax == "AXProgressIndicator";
}

std::vector<AtspiQuestion> AtspiElements::details(Index index) const
{
    std::vector<AtspiQuestion> wanted;
    if (can(index, atspi::hasComponent))
        wanted.push_back(extents);
    if (mayHaveTitle(index)) {
        wanted.push_back(titleQuestion(index));
        if (descriptionQuestion(index) != wanted.back())
            wanted.push_back(descriptionQuestion(index));
    }
    if (auto const question = identifierQuestion(index);
        question && (wanted.empty() || *question != wanted.back()))
        wanted.push_back(*question);
    if (can(index, atspi::hasAction))
        wanted.push_back(actions);
    if (auto const value = mayHaveValue(index); !value)
        wanted.push_back(interfaces);
    else if (*value)
        wanted.push_back(text);
    return wanted;
}

void AtspiElements::noteRole(Index index)
{
    if (nodes[index].role == AtspiRole::documentWeb)
        isWoken = true;
}

} // namespace zelvo
