#!/usr/bin/python3
"""A GTK 3 program that writes a line for each thing that happens to it. writer.py NAME COLOUR [fullscreen] [restless]

Its window has three buttons, of which "Paint" is nothing but the colour, "Print" and "Send", and a text field "Letter".
NAME      what the compositor knows it as, and its title
restless  maps, minimises, raises and resizes windows many times a second
Lines: mapped, motion X Y (also where the pointer comes in), press N, release N, key NAME, clicked LABEL, text JSON."""
import json
import random
import sys

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, GLib, Gtk  # noqa: E402

name, colour = sys.argv[1:3]
GLib.set_prgname(name)
style = Gtk.CssProvider()
style.load_from_data(f"""window {{background: {colour};}}
button.paint, button.paint label {{all: unset; background: {colour}; color: {colour};}}
decoration {{box-shadow: none;}}""".encode())
Gtk.StyleContext.add_provider_for_screen(Gdk.Screen.get_default(), style, 900)
Gtk.Settings.get_default().props.gtk_cursor_blink = False
windows = []


def say(*words):
    print(*words, flush=True)


def handle(event, *_):
    """Sees each event before the widgets do."""
    kinds = Gdk.EventType
    if event.type == kinds.MOTION_NOTIFY:
        say("motion", round(event.motion.x_root), round(event.motion.y_root))
    elif event.type == kinds.ENTER_NOTIFY:
        # Some compositors send no motion to the place where the pointer entered.
        say("motion", round(event.crossing.x_root), round(event.crossing.y_root))
    elif event.type in (kinds.BUTTON_PRESS, kinds.BUTTON_RELEASE):
        say("press" if event.type == kinds.BUTTON_PRESS else "release", event.button.button)
    elif event.type == kinds.KEY_PRESS:
        say("key", Gdk.keyval_name(event.key.keyval))
    Gtk.main_do_event(event)


def named_button(label):
    button = Gtk.Button(label=label)
    button.connect("clicked", lambda pressed: say("clicked", pressed.get_label()))
    return button


def content():
    paint = named_button("Paint")
    paint.props.vexpand = True
    paint.get_style_context().add_class("paint")
    letter = Gtk.Entry()
    letter.get_accessible().set_name("Letter")
    letter.connect("changed", lambda entry: say("text", json.dumps(entry.get_text())))
    box = Gtk.Box(orientation=Gtk.Orientation.VERTICAL, spacing=20, margin=20)
    for widget in (paint, named_button("Print"), named_button("Send"), letter):
        box.add(widget)
    return box


def open_window():
    window = Gtk.Window(title=name)
    window.set_decorated(False)
    window.set_default_size(600, 400)
    window.add_events(Gdk.EventMask.POINTER_MOTION_MASK | Gdk.EventMask.BUTTON_PRESS_MASK |
                      Gdk.EventMask.BUTTON_RELEASE_MASK)
    window.add(content())
    window.connect("map-event", lambda *_: say("mapped"))
    if "fullscreen" in sys.argv:
        window.fullscreen()
    window.show_all()
    windows.append(window)


def act():
    chance = random.random()
    one = random.choice(windows)
    if chance < 0.3 and len(windows) < 4:
        open_window()
    elif chance < 0.5 and len(windows) > 1:
        windows.remove(one)
        one.destroy()
    elif chance < 0.6:
        one.iconify()
    elif chance < 0.8:
        one.present()
    elif chance < 0.9:
        one.resize(random.randint(100, 900), random.randint(200, 600))
    else:
        random.choice([one.maximize, one.unmaximize])()
    return True


Gdk.Event.handler_set(handle)
open_window()
if "restless" in sys.argv:
    GLib.timeout_add(40, act)
Gtk.main()
