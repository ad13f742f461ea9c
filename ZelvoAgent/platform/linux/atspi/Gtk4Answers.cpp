#include "platform/linux/atspi/Gtk4Answers.h"

#include <algorithm>
#include <string_view>

namespace zelvo {

namespace {

/// "GtkEntry", "AdwHeaderBar".
bool isClassName(std::string_view name)
{
    auto const isUpper = [](char letter) { return letter >= 'A' && letter <= 'Z'; };
    auto const isLetter = [&](char letter) { return isUpper(letter) || (letter >= 'a' && letter <= 'z'); };
    return name.size() > 3 && (name.starts_with("Gtk") || name.starts_with("Adw")) && isUpper(name[3]) &&
           std::ranges::all_of(name, isLetter);
}

} // namespace

void correctGtk4Answer(AtspiNode& node, AtspiQuestion question)
{
    if (question == AtspiQuestion::states && node.states) {
        if (node.has(AtspiState::visible))
            node.states->add(AtspiState::showing);
        if (node.has(AtspiState::sensitive))
            node.states->add(AtspiState::enabled);
    }
    if (node.name && isClassName(*node.name))
        node.name.reset();
}

} // namespace zelvo
