#!/usr/bin/python3
"""Presses keys together, then releases them, by the compositor's own interface.
press.py [stay | hold] KEY...
press.py type KEY...
press.py move X Y
stay  keeps its keyboard afterwards, and says so by a line
hold  holds the keys down
KEY   the kernel's number
type  presses one key after the other
move  moves the pointer by so many points, and keeps it"""
import sys
import time

from gi.repository import Gio, GLib

NAME = "org.gnome.Mutter.RemoteDesktop"
bus = Gio.bus_get_sync(Gio.BusType.SESSION)
(session,) = bus.call_sync(NAME, "/org/gnome/Mutter/RemoteDesktop", NAME, "CreateSession", None, None, 0, -1).unpack()


def call(method, arguments=None):
    bus.call_sync(NAME, session, f"{NAME}.Session", method, arguments, None, 0, -1)


def key(code, is_down):
    call("NotifyKeyboardKeycode", GLib.Variant("(ub)", (code, is_down)))


call("Start")
if sys.argv[1] == "move":
    call("NotifyPointerMotionRelative", GLib.Variant("(dd)", (float(sys.argv[2]), float(sys.argv[3]))))
    GLib.MainLoop().run()
stays, types, holds = (sys.argv[1] == word for word in ("stay", "type", "hold"))
keys = [int(text) for text in sys.argv[1 + (stays or types or holds):]]
time.sleep(0.2)  # A new session loses its first keys.
if types:
    for code in keys:
        key(code, True)
        key(code, False)
    call("Stop")
    sys.exit()
for code in keys:
    key(code, True)
if holds:
    GLib.MainLoop().run()
for code in reversed(keys):
    key(code, False)
if stays:
    print("ready", flush=True)
    GLib.MainLoop().run()
call("Stop")
