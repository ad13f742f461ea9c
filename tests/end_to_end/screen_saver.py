"""A screen saver that locks: from its start on, the screen counts as locked."""

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

NAME = "org.freedesktop.ScreenSaver"
DESCRIPTION = f"""<node><interface name='{NAME}'>
<method name='GetActive'><arg type='b' direction='out'/></method>
<signal name='ActiveChanged'><arg type='b'/></signal>
</interface></node>"""


def answer(_connection, _sender, _path, _interface, _method, _arguments, invocation):
    invocation.return_value(GLib.Variant("(b)", (True,)))


def serve(connection, _name):
    interface = Gio.DBusNodeInfo.new_for_xml(DESCRIPTION).interfaces[0]
    connection.register_object("/org/freedesktop/ScreenSaver", interface, answer, None, None)


Gio.bus_own_name(Gio.BusType.SESSION, NAME, Gio.BusNameOwnerFlags.NONE, serve, None, None)
GLib.MainLoop().run()
