# A GTK 4 program that owns the clipboard with a text that is also rich, and a file. It copies when it gets the focus, or
# with the argument "key" at its first key, which some compositors demand.
import sys

import gi

gi.require_version("Gtk", "4.0")
gi.require_version("Gdk", "4.0")
from gi.repository import Gdk, GLib, Gtk

FORMS = {"text/plain;charset=utf-8": b"plain", "text/html": b"<b>rich</b>", "text/uri-list": b"file:///tmp/a\r\n"}

window = Gtk.Window(title="Forms")


def copy(*_):
    if window.is_active():
        forms = [Gdk.ContentProvider.new_for_bytes(name, GLib.Bytes.new(data)) for name, data in FORMS.items()]
        window.get_clipboard().set_content(Gdk.ContentProvider.new_union(forms))


if sys.argv[1:] == ["key"]:
    keys = Gtk.EventControllerKey()
    handler = keys.connect("key-pressed", lambda *_: (keys.disconnect(handler), copy()))
    window.add_controller(keys)
else:
    window.connect("notify::is-active", copy)
window.present()
GLib.MainLoop().run()
