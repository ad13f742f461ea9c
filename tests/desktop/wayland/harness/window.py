# A program with plain windows. window.py TITLE COLOR [WIDTH HEIGHT] [dialog] [busy] [button] [alpha]
#   dialog  opens a second window over it, "TITLE dialog"
#   busy    maps, minimises, fills the screen and shrinks again, without an end; moves where it can
#   button  writes "pressed" for each press of its button
#   alpha   the color may be translucent
import random
import sys

import gi

gi.require_version("Gtk", "3.0")
gi.require_version("Gdk", "3.0")
from gi.repository import Gdk, GLib, Gtk

title, color = sys.argv[1:3]
numbers = [int(word) for word in sys.argv[3:] if word.isdigit()]
width, height = numbers if numbers else (400, 300)
wishes = set(sys.argv[3:])
GLib.set_prgname("zt." + title.split()[0])


style = Gtk.CssProvider()
style.load_from_data(("window { background: %s; }" % color).encode())
Gtk.StyleContext.add_provider_for_screen(Gdk.Screen.get_default(), style, Gtk.STYLE_PROVIDER_PRIORITY_USER)


def window(name, parent=None):
    made = Gtk.Window(title=name)
    made.set_default_size(width, height)
    made.set_decorated(False)
    if "alpha" in wishes:
        made.set_visual(made.get_screen().get_rgba_visual())
    if parent:
        made.set_transient_for(parent)
        made.set_type_hint(Gdk.WindowTypeHint.DIALOG)
    made.connect("destroy", Gtk.main_quit)
    return made


main = window(title)
if "button" in wishes:
    button = Gtk.Button(label="press")
    button.connect("clicked", lambda _: print("pressed", flush=True))
    main.add(button)
main.show_all()
if "dialog" in wishes:
    window(title + " dialog", main).show_all()

def step():
    random.choice([
        main.hide, main.show_all, main.iconify, main.deiconify, main.maximize, main.unmaximize, main.fullscreen,
        main.unfullscreen, main.present,
        lambda: main.resize(random.randint(50, 900), random.randint(50, 700)),
        lambda: main.move(random.randint(0, 900), random.randint(0, 700)),
    ])()
    return True


if "busy" in wishes:
    window(title + " dialog", main).show_all()
    GLib.timeout_add(23, step)
Gtk.main()
