#include "platform/linux/wayland/shell/ShellWindows.h"

#include "platform/linux/wayland/shell/ShellMessages.h"

namespace zelvo {

ShellWindows::ShellWindows(ShellLink& link, ShellPresence& presence) : link(link), presence(presence) {}

std::optional<WindowsNow> ShellWindows::look()
{
    ShellReply const reply = link.call({.member = "Look"});
    return reply.message ? readShellLook(reply.message.get()) : std::nullopt;
}

void ShellWindows::observe(std::function<void()> observer)
{
    presence.observe(std::move(observer));
}

bool ShellWindows::activate(std::string const& id)
{
    return command("Activate", id);
}

bool ShellWindows::putInFront(std::string const& id)
{
    return command("PutInFront", id);
}

bool ShellWindows::command(char const* member, std::string const& id)
{
    auto const arguments = [&id](sd_bus_message* message) {
        sd_bus_message_append(message, "s", id.c_str());
    };
    ShellReply const reply = link.call({.member = member, .arguments = arguments});
    return reply.message && readTruth(reply.message.get()).value_or(false);
}

} // namespace zelvo
