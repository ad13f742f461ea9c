"""A window of many buttons: gtk_buttons.py COUNT third|all, by how many of them are on the screen.

They are in groups, as in real windows: GTK takes quadratic time to list children.
"""
import sys

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gtk  # noqa: E402

COLUMNS = 40
BUTTONS_A_GROUP = 2 * COLUMNS
GROUPS_A_PART = 50


def group_of(numbers):
    grid = Gtk.Grid()
    for place, number in enumerate(numbers):
        button = Gtk.Button(label=f"B{number}")
        button.get_accessible().set_property("accessible-description", f"Button {number}")
        grid.attach(button, place % COLUMNS, place // COLUMNS, 1, 1)
    return grid


def boxed(widgets):
    box = Gtk.Box(orientation=Gtk.Orientation.VERTICAL)
    for widget in widgets:
        box.add(widget)
    return box


def parts(whole, size):
    return [whole[start:start + size] for start in range(0, len(whole), size)]


count, showing = int(sys.argv[1]), sys.argv[2]
style = Gtk.CssProvider()
style.load_from_data(b"button { padding: 0; min-width: 0; min-height: 0; font-size: 7px; }")
Gtk.StyleContext.add_provider_for_screen(Gdk.Screen.get_default(), style, Gtk.STYLE_PROVIDER_PRIORITY_USER)

groups = [group_of(numbers) for numbers in parts(range(count), BUTTONS_A_GROUP)]
content = boxed(boxed(part) for part in parts(groups, GROUPS_A_PART))
window = Gtk.Window(title="Buttons")
window.connect("destroy", Gtk.main_quit)
if showing == "all":
    window.add(content)
else:
    content.show_all()
    height = content.get_preferred_height()[1]
    scroll = Gtk.ScrolledWindow()
    scroll.add(content)
    scroll.set_min_content_height(max(20, height // 3))
    scroll.set_min_content_width(1000)
    window.add(scroll)
window.show_all()
Gtk.main()
