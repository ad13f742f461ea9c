#!/usr/bin/python3
"""A full-screen GTK window that writes a line for each event that it gets. Argument: GTK's major version."""
import sys
import gi

VERSION = sys.argv[1]
for name in ("Gdk", "Gtk"):
    gi.require_version(name, VERSION + ".0")
from gi.repository import Gdk, GLib, Gtk


def say(*words):
    print(*words, flush=True)


def number(value):
    return f"{value:g}"


def place(x, y):
    return f"{x:.1f} {y:.1f}"


def say_when_shown(window):
    """After some frames. The keyboard comes later, where the desktop has none until the first key is made."""
    ticks = []

    def tick(*_):
        ticks.append(1)
        window.queue_draw()
        if len(ticks) == 5:
            say("shown")
        return len(ticks) < 5
    window.add_tick_callback(tick)


def listen3():
    window = Gtk.Window()
    window.fullscreen_on_monitor(Gdk.Screen.get_default(), int(sys.argv[2]))
    mask = Gdk.EventMask
    window.add_events(mask.POINTER_MOTION_MASK | mask.BUTTON_PRESS_MASK | mask.BUTTON_RELEASE_MASK |
                      mask.SCROLL_MASK | mask.SMOOTH_SCROLL_MASK | mask.KEY_PRESS_MASK | mask.KEY_RELEASE_MASK)

    def scrolled(_, event):
        smooth, across, down = event.get_scroll_deltas()
        say("scroll", *((number(across), number(down)) if smooth else (event.direction.value_nick,)))
    window.connect("motion-notify-event", lambda _, event: say("motion", place(event.x, event.y)))
    window.connect("button-press-event", lambda _, e: e.type.value_nick == "button-press" and say("press", e.button))
    window.connect("button-release-event", lambda _, event: say("release", event.button))
    window.connect("scroll-event", scrolled)
    window.connect("key-press-event", lambda _, event: say("down", Gdk.keyval_name(event.keyval)))
    window.connect("key-release-event", lambda _, event: say("up", Gdk.keyval_name(event.keyval)))
    window.connect("map", say_when_shown)
    window.show_all()
    GLib.MainLoop().run()


def listen4():
    window = Gtk.Window()
    motion, click, keys = Gtk.EventControllerMotion(), Gtk.GestureClick(button=0), Gtk.EventControllerKey()
    wheel = Gtk.EventControllerScroll(flags=Gtk.EventControllerScrollFlags.BOTH_AXES)
    motion.connect("motion", lambda _, x, y: say("motion", place(x, y)))
    click.connect("pressed", lambda gesture, *_: say("press", gesture.get_current_button()))
    click.connect("released", lambda gesture, *_: say("release", gesture.get_current_button()))
    wheel.connect("scroll", lambda _, across, down: say("scroll", number(across), number(down)))
    keys.connect("key-pressed", lambda _, value, *__: say("down", Gdk.keyval_name(value)))
    keys.connect("key-released", lambda _, value, *__: say("up", Gdk.keyval_name(value)))
    window.connect("map", say_when_shown)
    for controller in (motion, click, wheel, keys):
        window.add_controller(controller)
    window.fullscreen_on_monitor(Gdk.Display.get_default().get_monitors()[int(sys.argv[2])])
    window.present()
    GLib.MainLoop().run()


if VERSION == "3":
    listen3()
else:
    Gtk.init()
    listen4()
