#include "ZelvoGateway/mcp/tools/Conversation.h"

#include <algorithm>
#include <utility>

namespace zelvo::service {

Conversation::Conversation(ToolServices services, ConversationOptions options)
    : services(std::move(services)), options(std::move(options)),
      numbers(std::make_shared<ReferenceNumbers::Part>(this->options.numbers)), id(newHandle()),
      calls(this->services.clock, this->options.memory)
{
}

std::shared_ptr<SeenMachine> Conversation::seen(ReachedMachine const& machine)
{
    auto const known = std::ranges::find(machinesSeen, machine.connection, &Seen::connection);
    Seen seen{.connection = machine.connection, .machine = {}};
    if (known != machinesSeen.end()) {
        seen = *known;
        machinesSeen.erase(known);
    } else {
        seen.machine = std::make_shared<SeenMachine>(numbers);
        if (machine.display)
            seen.machine->space = wholeDisplay(*machine.display, services.pictures);
    }
    seen.machine->noteSession(machine.session);
    machinesSeen.push_back(seen);
    if (machinesSeen.size() > maxMachines)
        machinesSeen.pop_front();
    return seen.machine;
}

void Conversation::weigh()
{
    auto const bytes = [&] {
        std::size_t sum = 0;
        for (Seen const& one : machinesSeen)
            sum += one.machine->bytes();
        return sum;
    };
    memory.release();
    if (options.memory.grow(memory, bytes()))
        return;
    for (Seen const& one : machinesSeen)
        one.machine->forgetOld();
    options.memory.grow(memory, bytes());
}

Task<CallTurns::Turn> Conversation::turnOn(ReachedMachine machine)
{
    co_return co_await options.turns->take(options.key + "\n" + machine.connection, id);
}

} // namespace zelvo::service
