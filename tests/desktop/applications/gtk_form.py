#!/usr/bin/python3
"""A GTK 3 window with an element of each interactive role."""
import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gtk  # noqa: E402


def menu_bar():
    def item(label, *inside, kind=Gtk.MenuItem):
        found = kind(label=label, use_underline=True)
        if inside:
            menu = Gtk.Menu()
            for child in inside:
                menu.append(child)
            found.set_submenu(menu)
        return found

    bar = Gtk.MenuBar()
    bar.append(item("_File", item("_Open..."), item("Recent", item("Old document")), Gtk.SeparatorMenuItem(),
                    item("Wrap lines", kind=Gtk.CheckMenuItem)))
    bar.append(item("_Help", item("About")))
    return bar


def named(widget, name):
    widget.get_accessible().set_name(name)
    return widget


def buttons():
    column = Gtk.Box(orientation=Gtk.Orientation.VERTICAL, spacing=4, margin=6)
    push = Gtk.Button(label="Push", tooltip_text="Pushes")
    push.get_accessible().set_description("A plain button")
    radio = Gtk.RadioButton(label="First")
    expander = Gtk.Expander(label="More")
    expander.add(Gtk.Label(label="Hidden words"))
    popover = Gtk.MenuButton(label="Tool")
    menu = Gtk.Menu()
    menu.append(Gtk.MenuItem(label="Tool item"))
    menu.show_all()
    popover.set_popup(menu)
    for widget in (push, Gtk.Button(label="Grey", sensitive=False), Gtk.ToggleButton(label="Toggle"),
                   Gtk.CheckButton(label="Check", active=True), radio,
                   Gtk.RadioButton(label="Second", group=radio), named(Gtk.Switch(halign=Gtk.Align.START), "Switch"),
                   popover, expander, Gtk.LinkButton(uri="https://example.org/", label="Linked words"),
                   Gtk.ColorButton(title="Colour")):
        column.pack_start(widget, False, False, 0)
    frame = Gtk.Frame(label="Buttons")
    frame.add(column)
    return frame


def combo(entries, editable):
    box = Gtk.ComboBoxText.new_with_entry() if editable else Gtk.ComboBoxText()
    for entry in entries:
        box.append_text(entry)
    box.set_active(0)
    return box


def fields():
    grid = Gtk.Grid(row_spacing=4, column_spacing=8, margin=6)

    def add(label, widget):
        row = len(grid.get_children()) // 2
        words = Gtk.Label(label=label, use_underline=True, xalign=0, mnemonic_widget=widget)
        grid.attach(words, 0, row, 1, 1)
        widget.set_hexpand(True)
        grid.attach(widget, 1, row, 1, 1)

    add("_Name", Gtk.Entry(text="typed text", placeholder_text="Your name"))
    add("_Password", Gtk.Entry(text="secret", visibility=False, input_purpose=Gtk.InputPurpose.PASSWORD))
    add("Fixed", combo(("red", "green", "blue"), False))
    add("Open", combo(("one", "two"), True))
    add("Number", Gtk.SpinButton.new_with_range(0, 99, 1))
    slider = Gtk.Scale.new_with_range(Gtk.Orientation.HORIZONTAL, 0, 100, 1)
    slider.set_value(30)
    add("Slide", slider)
    add("Level", Gtk.LevelBar(value=0.5))
    add("Progress", Gtk.ProgressBar(fraction=0.4))
    notes = named(Gtk.TextView(), "Notes")
    notes.get_buffer().set_text("several\nlines")
    add("Notes", notes)
    return grid


def tree_view(name, store, columns):
    view = named(Gtk.TreeView(model=store), name)
    for i, title in enumerate(columns):
        view.append_column(Gtk.TreeViewColumn(title, Gtk.CellRendererText(), text=i))
    view.expand_all()
    return view


def views():
    box = Gtk.Box(spacing=6, homogeneous=True)
    lines = named(Gtk.ListBox(), "List")
    for i in range(40):
        lines.add(Gtk.Label(label=f"Line {i}", xalign=0))
    pane = Gtk.ScrolledWindow(min_content_height=120)
    pane.add(lines)
    box.add(pane)
    store = Gtk.TreeStore(str)
    store.append(store.append(None, ["Trunk"]), ["Branch"])
    box.add(tree_view("Tree", store, ["Node"]))
    rows = Gtk.ListStore(str, str)
    rows.append(["Cell 0", "Cell 1"])
    rows.append(["Cell 2", "Cell 3"])
    box.add(tree_view("Table", rows, ["Left", "Right"]))
    return box


window = Gtk.Window(title="GTK form")
window.set_default_size(900, 700)
column = Gtk.Box(orientation=Gtk.Orientation.VERTICAL)
column.pack_start(menu_bar(), False, False, 0)
tools = Gtk.Toolbar()
tools.insert(Gtk.ToolButton(label="Run"), 0)
column.pack_start(tools, False, False, 0)
upper = Gtk.Box(spacing=6)
upper.pack_start(buttons(), True, True, 0)
upper.pack_start(fields(), True, True, 0)
column.pack_start(upper, False, False, 0)
book = Gtk.Notebook()
book.append_page(views(), Gtk.Label(label="Views"))
book.append_page(Gtk.Label(label="Other words"), Gtk.Label(label="Other"))
column.pack_start(book, True, True, 0)
status = Gtk.Statusbar()
status.push(0, "Ready")
column.pack_start(status, False, False, 0)
window.add(column)
window.connect("destroy", Gtk.main_quit)
window.show_all()
Gtk.main()
