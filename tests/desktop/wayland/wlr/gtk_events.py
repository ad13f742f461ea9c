#!/usr/bin/python3
"""A full-screen GTK 3 window that appends a line to FILE for each pointer or keyboard event."""
import sys

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gtk  # noqa: E402

file = open(sys.argv[1], "w", encoding="utf-8", buffering=1)
title = sys.argv[2]


def say(*words):
    print(*words, file=file)
    return True


def on_scroll(_, event):
    if event.direction == Gdk.ScrollDirection.SMOOTH:
        return say("scroll", int(event.delta_x), int(event.delta_y))
    return False


def on_key(_, event):
    names = [name for name, mask in (("ctrl", Gdk.ModifierType.CONTROL_MASK), ("shift", Gdk.ModifierType.SHIFT_MASK))
             if event.state & mask]
    say("key" if event.type == Gdk.EventType.KEY_PRESS else "release", Gdk.keyval_name(event.keyval), *names)


window = Gtk.Window(title=title)
window.add_events(Gdk.EventMask.POINTER_MOTION_MASK | Gdk.EventMask.BUTTON_PRESS_MASK |
                  Gdk.EventMask.BUTTON_RELEASE_MASK | Gdk.EventMask.SMOOTH_SCROLL_MASK)
window.connect("motion-notify-event", lambda _, event: say("at", int(event.x), int(event.y)))
window.connect("enter-notify-event", lambda _, event: say("at", int(event.x), int(event.y)))
window.connect("button-press-event", lambda _, event: say("down", event.button))
window.connect("button-release-event", lambda _, event: say("up", event.button))
window.connect("scroll-event", on_scroll)
window.connect("key-press-event", on_key)
window.connect("key-release-event", on_key)
window.connect("focus-in-event", lambda *_: say("focus"))
window.connect("destroy", Gtk.main_quit)
window.fullscreen()
window.show_all()
Gtk.main()
