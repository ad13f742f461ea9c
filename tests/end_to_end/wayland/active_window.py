#!/usr/bin/python3
"""Prints the title of the agent's window that has the keyboard, as the accessibility bus says it; nothing if none has."""
import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402


def children(element):
    return [element.get_child_at_index(place) for place in range(element.get_child_count())]


for application in children(Atspi.get_desktop(0)):
    try:
        if application and application.get_name() == "zelvo-agent":
            for window in children(application):
                if window and window.get_state_set().contains(Atspi.StateType.ACTIVE):
                    print(window.get_name())
    except GLib.Error:  # It ended meanwhile.
        pass
