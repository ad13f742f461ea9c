#!/usr/bin/python3
"""Opens a stream of a monitor by the compositor's own interface, prints its node and keeps it.
record.py CONNECTOR"""
import sys

from gi.repository import Gio, GLib

NAME = "org.gnome.Mutter.ScreenCast"
EMBEDDED_POINTER = 1
bus = Gio.bus_get_sync(Gio.BusType.SESSION)


def call(path, interface, method, arguments=None):
    answer = bus.call_sync(NAME, path, f"{NAME}{interface}", method, arguments, None, 0, -1)
    return answer.unpack()


(session,) = call("/org/gnome/Mutter/ScreenCast", "", "CreateSession", GLib.Variant("(a{sv})", ({},)))
options = {"cursor-mode": GLib.Variant("u", EMBEDDED_POINTER)}
(stream,) = call(session, ".Session", "RecordMonitor", GLib.Variant("(sa{sv})", (sys.argv[1], options)))
bus.signal_subscribe(NAME, f"{NAME}.Stream", "PipeWireStreamAdded", stream, None, 0,
                     lambda *signal: print(signal[5].unpack()[0], flush=True))
call(session, ".Session", "Start")
GLib.MainLoop().run()
