#include "platform/linux/dbus/SecretServiceWatch.h"

namespace zelvo {

void watchSecretService(BusConnection& session, std::function<void()> onAvailable)
{
    session.watchName("org.freedesktop.secrets", [onAvailable](std::string const& owner) {
        if (!owner.empty())
            onAvailable();
    });
    session.watchSignal(
        "type='signal',sender='org.freedesktop.secrets',path_namespace='/org/freedesktop/secrets',"
        "interface='org.freedesktop.DBus.Properties',member='PropertiesChanged',"
        "arg0='org.freedesktop.Secret.Collection'",
        [onAvailable](sd_bus_message* message) {
            readText(message);
            // The other properties change with every write, including ours.
            if (entryOf<bool>(readDictionary(message), "Locked") == false)
                onAvailable();
        });
}

} // namespace zelvo
