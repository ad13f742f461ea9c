"""A window with a button that opens a dialog of thirty choices. Escape closes the dialog."""

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gtk  # noqa: E402


def open_dialog(_button):
    dialog = Gtk.Dialog(title="Choices", transient_for=window)
    grid = Gtk.Grid(row_spacing=6, column_spacing=12)
    for number in range(30):
        grid.attach(Gtk.CheckButton(label=f"Choice {number}"), number % 3, number // 3, 1, 1)
    dialog.get_content_area().add(grid)
    dialog.add_buttons("Cancel", Gtk.ResponseType.CANCEL, "OK", Gtk.ResponseType.OK)
    dialog.connect("response", lambda *_: dialog.destroy())
    dialog.show_all()


window = Gtk.Window(title="Opener", default_width=900, default_height=700)
button = Gtk.Button(label="Open choices", halign=Gtk.Align.START, valign=Gtk.Align.START)
button.connect("clicked", open_dialog)
window.add(button)
window.connect("destroy", Gtk.main_quit)
window.show_all()
Gtk.main()
