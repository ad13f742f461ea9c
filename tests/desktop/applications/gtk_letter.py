#!/usr/bin/python3
"""A GTK 3 window that sends, saves and deletes, and prints each action. SIGUSR1 swaps the buttons "Send" and
"Print"."""
import signal

import gi

gi.require_version("Gtk", "3.0")
gi.require_version("Gdk", "3.0")
from gi.repository import Gdk, GLib, Gtk  # noqa: E402


def say(words):
    print(words, flush=True)


def on_key(_window, event):
    if event.keyval == Gdk.KEY_s and event.state & Gdk.ModifierType.CONTROL_MASK:
        say("saved")


def on_button(button, event):
    if event.button == 3:
        say("menu of " + button.get_label())


def named_button(label):
    button = Gtk.Button(label=label)
    button.set_size_request(160, 60)
    button.connect("clicked", lambda pressed: say("pressed " + pressed.get_label()))
    button.connect("button-press-event", on_button)
    return button


def open_dialog(_button, parent):
    dialog = Gtk.Dialog(title="Delete the letter", transient_for=parent)
    dialog.add_button("Cancel", Gtk.ResponseType.CANCEL)
    dialog.add_button("Delete", Gtk.ResponseType.OK)
    dialog.set_default_response(Gtk.ResponseType.OK)
    entry = Gtk.Entry(activates_default=True)
    dialog.get_content_area().add(entry)
    entry.connect("focus-in-event", lambda *_: say("focused"))
    dialog.connect("response", lambda shown, response: (say(f"answered {int(response)}"), shown.destroy()))
    dialog.show_all()
    entry.grab_focus()


places = [(20, 60), (320, 60)]
send, printing = named_button("Send"), named_button("Print")
text = Gtk.Entry()
text.get_accessible().set_name("Letter")
text.set_activates_default(True)
send.set_can_default(True)
text.set_size_request(460, 30)
ask = Gtk.Button(label="Discard")
field = Gtk.Fixed()
field.put(text, 20, 10)
field.put(send, *places[0])
field.put(printing, *places[1])
field.put(ask, 20, 160)
window = Gtk.Window(title="GTK letter")
window.set_default_size(520, 240)
window.add(field)
window.set_default(send)
window.connect("destroy", Gtk.main_quit)
window.connect("key-press-event", on_key)
ask.connect("clicked", open_dialog, window)


def swap():
    places.reverse()
    field.move(send, *places[0])
    field.move(printing, *places[1])
    say(f"swapped with {len(text.get_text())} letters")
    return True


GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGUSR1, swap)
window.show_all()
Gtk.main()
