#include "platform/linux/dbus/LinuxNotifications.h"

#include <cstdint>
#include <string_view>

namespace zelvo {

namespace {

constexpr char const* service = "org.freedesktop.Notifications";
constexpr char const* path = "/org/freedesktop/Notifications";

BusCall call(char const* member)
{
    return {.destination = service, .path = path, .interface = service, .member = member};
}

/// Services with the "body-markup" capability parse the body as markup.
std::string escaped(std::string const& plain)
{
    std::string markup;
    for (char const letter : plain) {
        if (letter == '&')
            markup += "&amp;";
        else if (letter == '<')
            markup += "&lt;";
        else if (letter == '>')
            markup += "&gt;";
        else
            markup += letter;
    }
    return markup;
}

bool takesMarkup(sd_bus_message* capabilities)
{
    bool found = false;
    if (sd_bus_message_enter_container(capabilities, 'a', "s") < 0)
        return false;
    char const* word = nullptr;
    while (sd_bus_message_read(capabilities, "s", &word) > 0)
        found |= std::string_view(word) == "body-markup";
    return found;
}

void notify(BusConnection& session, std::string const& title, std::string const& body)
{
    BusCall shown = call("Notify");
    shown.arguments = [title, body](sd_bus_message* message) {
        constexpr std::uint32_t replacesNone = 0;
        constexpr std::int32_t ownTime = -1; // The desktop's default.
        sd_bus_message_append(message, "susssasa{sv}i", "Zelvo", replacesNone, "dev.zelvo.agent",
                              title.c_str(), body.c_str(), 0, 2, "desktop-entry", "s", "dev.zelvo.agent",
                              "sound-name", "s", "message-new-instant", ownTime);
    };
    session.ask(std::move(shown), {});
}

} // namespace

void LinuxNotifications::show(std::string title, std::string body)
{
    // The capabilities decide how the service reads the body.
    session.ask(call("GetCapabilities"), [&session = session, title = std::move(title),
                                          body = std::move(body)](sd_bus_message* reply) {
        notify(session, title, takesMarkup(reply) ? escaped(body) : body);
    });
}

} // namespace zelvo
