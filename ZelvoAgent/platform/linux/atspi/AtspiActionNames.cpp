#include "platform/linux/atspi/AtspiActionNames.h"

#include "platform/linux/atspi/AtspiActions.h"
#include "platform/linux/atspi/AtspiCalls.h"

namespace zelvo {

void AtspiActionNames::ask(Index index)
{
    questions.send(index, AtspiQuestion::actions, [this, index](sd_bus_message* reply) {
        if (!questions.isOpen(index, AtspiQuestion::actions))
            return;
        if (!reply)
            return questions.leave(index, AtspiQuestion::actions);
        take(index, atspi::readActions(reply).value_or(std::vector<atspi::Action>()));
    });
}

void AtspiActionNames::take(Index index, std::vector<atspi::Action> actions)
{
    auto const naming = std::make_shared<Naming>();
    for (atspi::Action const& action : actions)
        naming->names.push_back(action.name);
    AtspiToolkit const toolkit = questions.toolkitOfElement(index);
    if (!toolkit.translatesActions)
        return finish(index, naming->names);
    atspi::Action const nameless;
    if (toolkit.hasActionsOfAll && !actions.empty() && actions.front() == nameless) {
        actions.resize(1);
        naming->names.resize(1);
    }
    naming->missing = 1;
    for (std::size_t at = 0; at < actions.size(); ++at) {
        auto const found = known.find({questions.nodes[index].peer, actions[at]});
        if (found != known.end())
            naming->names[at] = found->second;
        else
            askName(index, naming, at, actions[at]);
    }
    if (--naming->missing == 0)
        finish(index, naming->names);
}

void AtspiActionNames::askName(Index index,
                               std::shared_ptr<Naming> const& naming,
                               std::size_t at,
                               atspi::Action const& action)
{
    auto call = questions.newCall(index, atspi::actionInterface, "GetName");
    if (call)
        sd_bus_message_append(call.get(), "i", static_cast<std::int32_t>(at));
    ++naming->missing;
    auto const peer = questions.nodes[index].peer;
    questions.exchange.ask(peer, std::move(call),
                           [this, index, naming, at, action, peer](sd_bus_message* reply) {
                               if (auto name = reply ? atspi::readBoundedText(reply) : std::nullopt) {
                                   naming->names[at] = atspi::bounded(*name, atspi::maxActionNameLength);
                                   if (action != atspi::Action())
                                       known[{peer, action}] = naming->names[at];
                               }
                               if (--naming->missing == 0)
                                   finish(index, naming->names);
                           });
}

void AtspiActionNames::finish(Index index, std::vector<std::string> const& names)
{
    if (!questions.isOpen(index, AtspiQuestion::actions))
        return;
    AtspiNode& node = questions.nodes[index];
    std::size_t const before = node.textSize();
    node.actions = axActionsOf(names);
    questions.boundText(node, before);
    questions.finish(index, AtspiQuestion::actions);
}

} // namespace zelvo
