"""A window of many buttons: gtk_buttons.py COUNT third|all, by how many of them are on the screen."""
import math
import sys

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gtk  # noqa: E402

count, showing = int(sys.argv[1]), sys.argv[2]
style = Gtk.CssProvider()
style.load_from_data(b"button { padding: 0; min-width: 0; min-height: 0; font-size: 7px; }")
Gtk.StyleContext.add_provider_for_screen(Gdk.Screen.get_default(), style, Gtk.STYLE_PROVIDER_PRIORITY_USER)

columns = 40
rows = math.ceil(count / columns)
grid = Gtk.Grid()
for index in range(count):
    button = Gtk.Button(label=f"B{index}")
    button.get_accessible().set_property("accessible-description", f"Button {index}")
    grid.attach(button, index % columns, index // columns, 1, 1)
window = Gtk.Window(title="Buttons")
window.connect("destroy", Gtk.main_quit)
if showing == "all":
    window.add(grid)
else:
    grid.show_all()
    height = grid.get_preferred_height()[1]
    scroll = Gtk.ScrolledWindow()
    scroll.add(grid)
    scroll.set_min_content_height(max(20, height // 3))
    scroll.set_min_content_width(1000)
    window.add(scroll)
window.show_all()
Gtk.main()
