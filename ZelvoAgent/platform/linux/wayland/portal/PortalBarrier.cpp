#include "platform/linux/wayland/portal/PortalBarrier.h"

namespace zelvo {

namespace {

constexpr std::string_view backendsBegin = "org.freedesktop.impl.portal.desktop.";
constexpr std::size_t maxBackends = 8;

} // namespace

Task<> PortalBarrier::pass()
{
    if (backends.get().empty())
        co_await findBackends();
    auto const asked = backends.get(); // Another call may find them anew meanwhile.
    // Twice, because a backend may write to the compositor only when it waits for its next message.
    for (int round = 0; round < 2; ++round)
        for (std::string const& name : asked)
            co_await ask(name, "/org/freedesktop/portal/desktop",
                         "org.freedesktop.impl.portal.RemoteDesktop");
    co_await ask("org.gnome.Mutter.RemoteDesktop", "/org/gnome/Mutter/RemoteDesktop",
                 "org.gnome.Mutter.RemoteDesktop");
    co_await ask("org.kde.KWin", "/KWin", "org.kde.KWin");
}

Task<> PortalBarrier::findBackends()
{
    std::vector<std::string> names;
    BusCall list{.destination = "org.freedesktop.DBus",
                 .path = "/org/freedesktop/DBus",
                 .interface = "org.freedesktop.DBus",
                 .member = "ListNames",
                 .patience = patience};
    auto const onReply = [&names](sd_bus_message* reply) { names = readTexts(reply); };
    try {
        co_await session.call(std::move(list), onReply);
    } catch (BusFailure const&) {
        co_return;
    }
    std::vector<std::string> found;
    for (std::string& name : names)
        if (name.starts_with(backendsBegin) && found.size() < maxBackends)
            found.push_back(std::move(name));
    backends.set(std::move(found));
}

Task<> PortalBarrier::ask(std::string destination, std::string path, std::string interface)
{
    BusCall question{
        .destination = std::move(destination),
        .path = std::move(path),
        .interface = "org.freedesktop.DBus.Properties",
        .member = "GetAll",
        .arguments =
            [&interface](sd_bus_message* message) { sd_bus_message_append(message, "s", interface.c_str()); },
        .patience = patience,
        .mayStart = false};
    try {
        co_await session.call(std::move(question));
    } catch (BusFailure const&) {
        co_return; // An error is an answer, too.
    }
}

} // namespace zelvo
