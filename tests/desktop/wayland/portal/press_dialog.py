#!/usr/bin/python3
"""Waits for the dialog of GNOME's portal, and presses keys in it as a person would, through the compositor.
Arguments: kernel key codes, one after the other; those joined by "+" are held together."""
import sys
import time
import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, Gio, GLib

NAME = "org.gnome.Mutter.RemoteDesktop"
bus = Gio.bus_get_sync(Gio.BusType.SESSION)


def mutter(path, interface, method, args=None):
    return bus.call_sync(NAME, path, interface, method, args, None, 0, 5000, None)


def press(session, code, is_down):
    mutter(session, NAME + ".Session", "NotifyKeyboardKeycode", GLib.Variant("(ub)", (code, is_down)))


def has_focus(node):
    if node.get_state_set().contains(Atspi.StateType.FOCUSED):
        return True
    return any(has_focus(child) for child in map(node.get_child_at_index, range(node.get_child_count())) if child)


def is_open():
    Atspi.get_desktop(0).clear_cache()
    desktop = Atspi.get_desktop(0)
    for program in map(desktop.get_child_at_index, range(desktop.get_child_count())):
        if program and program.get_name() == "xdg-desktop-portal-gnome" and program.get_child_count() > 0:
            program.clear_cache()
            return has_focus(program)
    return False


def main():
    session, = mutter("/org/gnome/Mutter/RemoteDesktop", NAME, "CreateSession").unpack()
    mutter(session, NAME + ".Session", "Start")
    for is_down in (True, False):
        press(session, 240, is_down)  # Makes the keyboard.
    end = time.monotonic() + 10
    while not is_open():
        if time.monotonic() > end:
            sys.exit("there is no dialog")
        time.sleep(0.05)
    for chord in sys.argv[1:]:
        codes = [int(code) for code in chord.split("+")]
        for code in codes:
            press(session, code, True)
        for code in reversed(codes):
            press(session, code, False)
        time.sleep(0.2)  # The dialog handles one before the next.


main()
