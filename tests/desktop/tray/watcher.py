"""A watcher of status notifier items. Like most desktops' it reports hosts by signals alone, without PropertiesChanged.
SIGUSR1 registers a host, SIGUSR2 removes it. It prints the name of each item."""
import signal

import dbus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

NAME = "org.kde.StatusNotifierWatcher"


PROPERTY = '<property name="IsStatusNotifierHostRegistered" type="b" access="read"/>'


class Watcher(dbus.service.Object):
    has_host = False

    # Qt reads only properties that are introspected.
    @dbus.service.method(dbus.INTROSPECTABLE_IFACE, out_signature="s", path_keyword="path",
                         connection_keyword="connection")
    def Introspect(self, path, connection):
        text = super().Introspect(path, connection)
        return text.replace(f'<interface name="{NAME}">', f'<interface name="{NAME}">{PROPERTY}')

    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        assert (interface, name) == (NAME, "IsStatusNotifierHostRegistered")
        return dbus.Boolean(self.has_host)

    @dbus.service.method(NAME, in_signature="s")
    def RegisterStatusNotifierItem(self, service):
        print(service, flush=True)

    @dbus.service.signal(NAME)
    def StatusNotifierHostRegistered(self):
        pass

    @dbus.service.signal(NAME)
    def StatusNotifierHostUnregistered(self):
        pass

    def register(self):
        self.has_host = True
        self.StatusNotifierHostRegistered()
        return GLib.SOURCE_CONTINUE

    def unregister(self):
        self.has_host = False
        self.StatusNotifierHostUnregistered()
        return GLib.SOURCE_CONTINUE


DBusGMainLoop(set_as_default=True)
bus = dbus.SessionBus()
watcher = Watcher(bus, "/StatusNotifierWatcher")
GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGUSR1, watcher.register)
GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGUSR2, watcher.unregister)
name = dbus.service.BusName(NAME, bus)  # Last, because the tests wait for it.
GLib.MainLoop().run()
