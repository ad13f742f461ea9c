#include "platform/linux/atspi/AtspiTexts.h"

namespace zelvo {

std::optional<std::string>
AtspiTexts::answered(Index index, AtspiQuestion question, std::optional<std::string> AtspiNode::* answer)
{
    inquiry.ensure(index, question);
    auto const& text = nodes[index].*answer;
    // AT-SPI reports an absent text as an empty one.
    return text && !text->empty() ? text : std::nullopt;
}

std::optional<std::string> AtspiTexts::nameOf(Index index)
{
    if (!known.mayHaveTitle(index))
        return std::nullopt;
    return answered(index, known.titleQuestion(index), &AtspiNode::name);
}

std::optional<std::string> AtspiTexts::titleOf(Index index)
{
    auto name = nameOf(index);
    if (name || !known.mayHaveTitle(index) || !known.mayBeLabelled(index))
        return name;
    inquiry.ensure(index, AtspiQuestion::labels);
    for (atspi::Reference const& reference : nodes[index].labels) {
        auto const label = inquiry.find(index, reference);
        if (!label)
            continue;
        known.identify(*label);
        if (!known.exists(*label))
            continue;
        if (auto words = nameOf(*label))
            return words;
    }
    return std::nullopt;
}

std::optional<std::string> AtspiTexts::descriptionOf(Index index)
{
    if (!known.mayHaveTitle(index))
        return std::nullopt;
    return answered(index, known.descriptionQuestion(index), &AtspiNode::description);
}

std::optional<std::string> AtspiTexts::helpOf(Index index)
{
    // Only `properties` contains it. Qt may fail on an unknown property.
    if (!known.mayHaveTitle(index) || known.titleQuestion(index) != AtspiQuestion::properties)
        return std::nullopt;
    return answered(index, AtspiQuestion::properties, &AtspiNode::help);
}

std::optional<std::string> AtspiTexts::identifierOf(Index index)
{
    auto const question = known.identifierQuestion(index);
    return question ? answered(index, *question, &AtspiNode::identifier) : std::nullopt;
}

std::optional<std::string> AtspiTexts::valueOf(Index index)
{
    auto may = known.mayHaveValue(index);
    if (!may) {
        inquiry.ensure(index, AtspiQuestion::interfaces);
        may = known.mayHaveValue(index);
    }
    if (may != true)
        return std::nullopt;
    inquiry.ensure(index, AtspiQuestion::text);
    return nodes[index].text;
}

} // namespace zelvo
