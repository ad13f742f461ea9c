#!/usr/bin/python3
"""A GTK 4 window with an element of each interactive role."""
import gi

gi.require_version("Gtk", "4.0")
from gi.repository import Gio, Gtk  # noqa: E402


def column_of(widgets, **properties):
    column = Gtk.Box(orientation=Gtk.Orientation.VERTICAL, spacing=4, **properties)
    for widget in widgets:
        column.append(widget)
    return column


def buttons():
    push = Gtk.Button(label="Push", tooltip_text="Pushes")
    push.update_property([Gtk.AccessibleProperty.DESCRIPTION], ["A plain button"])
    first = Gtk.CheckButton(label="First")
    switch = Gtk.Switch(halign=Gtk.Align.START)
    switch.update_property([Gtk.AccessibleProperty.LABEL], ["Switch"])
    expander = Gtk.Expander(label="More", child=Gtk.Label(label="Hidden words"))
    popover = Gtk.Popover(child=column_of([Gtk.Button(label="Tool item")]))
    widgets = (push, Gtk.Button(label="Grey", sensitive=False), Gtk.ToggleButton(label="Toggle"),
               Gtk.CheckButton(label="Check", active=True), first, Gtk.CheckButton(label="Second", group=first),
               switch, Gtk.MenuButton(label="Tool", popover=popover), expander,
               Gtk.LinkButton(uri="https://example.org/", label="Linked words"))
    return Gtk.Frame(label="Buttons", child=column_of(widgets))


def fields():
    grid = Gtk.Grid(row_spacing=4, column_spacing=8)
    slider = Gtk.Scale.new_with_range(Gtk.Orientation.HORIZONTAL, 0, 100, 1)
    slider.set_value(30)
    notes = Gtk.TextView()
    notes.get_buffer().set_text("several\nlines")
    rows = (("_Name", Gtk.Entry(text="typed text")), ("_Password", Gtk.PasswordEntry(text="secret")),
            ("Fixed", Gtk.DropDown.new_from_strings(["red", "green", "blue"])),
            ("Number", Gtk.SpinButton.new_with_range(0, 99, 1)), ("Slide", slider), ("Level", Gtk.LevelBar(value=0.5)),
            ("Progress", Gtk.ProgressBar(fraction=0.4)), ("Search", Gtk.SearchEntry()), ("Notes", notes))
    for row, (label, widget) in enumerate(rows):
        words = Gtk.Label(label=label, use_underline=True, xalign=0, mnemonic_widget=widget)
        grid.attach(words, 0, row, 1, 1)
        widget.set_hexpand(True)
        widget.update_relation([Gtk.AccessibleRelation.LABELLED_BY], [words])
        grid.attach(widget, 1, row, 1, 1)
    return grid


def lines():
    found = Gtk.ListBox()
    for i in range(40):
        found.append(Gtk.Label(label=f"Line {i}", xalign=0))
    return Gtk.ScrolledWindow(min_content_height=120, child=found)


def start(application):
    window = Gtk.ApplicationWindow(application=application, title="GTK 4 form")
    window.set_default_size(900, 700)
    bar = Gtk.HeaderBar()
    bar.pack_start(Gtk.Button(label="Run"))
    window.set_titlebar(bar)
    upper = Gtk.Box(spacing=6)
    upper.append(buttons())
    upper.append(fields())
    book = Gtk.Notebook(vexpand=True)
    book.append_page(lines(), Gtk.Label(label="Views"))
    book.append_page(Gtk.Label(label="Other words"), Gtk.Label(label="Other"))
    window.set_child(column_of([upper, book]))
    window.present()


application = Gtk.Application(flags=Gio.ApplicationFlags.NON_UNIQUE)
application.connect("activate", start)
application.run([])
