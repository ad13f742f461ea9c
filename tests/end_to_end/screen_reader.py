#!/usr/bin/env python3
"""Reads a program's windows over the accessibility bus, as a screen reader does.

Usage:
  screen_reader.py tree PID          prints each element as a line of JSON: role, name, description, label, states, bounds, depth
  screen_reader.py press PID NAME    performs the first action of the element with this name, then prints the events that
                                     the program reports in the next second, a line of JSON each: event, role, name, detail
"""
import json
import sys

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib

MAX_ELEMENTS = 3000
STATES = ("checked", "checkable", "enabled", "expanded", "focusable", "selected", "showing", "visible")


def application(pid):
    desktop = Atspi.get_desktop(0)
    for place in range(desktop.get_child_count()):
        one = desktop.get_child_at_index(place)
        if one and one.get_process_id() == pid:
            return one
    sys.exit(f"no application with the process {pid} is on the accessibility bus")


def states_of(element):
    held = element.get_state_set()
    return [name for name in STATES if held.contains(getattr(Atspi.StateType, name.upper()))]


def bounds_of(element):
    component = element.get_component_iface()
    if not component:
        return [0, 0, 0, 0]
    bounds = component.get_extents(Atspi.CoordType.SCREEN)
    return [bounds.x, bounds.y, bounds.width, bounds.height]


def label_of(element):
    """The text of the label that names a control."""
    for relation in element.get_relation_set():
        if relation.get_relation_type() == Atspi.RelationType.LABELLED_BY:
            return relation.get_target(0).get_name()
    return ""


def fact(element, depth):
    return {"role": element.get_role_name(), "name": element.get_name(), "description": element.get_description(),
            "label": label_of(element),
            "states": states_of(element), "bounds": bounds_of(element), "depth": depth}


def walk(element, depth=0):
    yield element, depth
    for place in range(min(element.get_child_count(), MAX_ELEMENTS)):
        child = element.get_child_at_index(place)
        if child:
            yield from walk(child, depth + 1)


def tree(pid):
    for element, depth in walk(application(pid)):
        print(json.dumps(fact(element, depth)))


def press(pid, name):
    def report(event):
        if event.source.get_process_id() == pid:
            print(json.dumps({"event": event.type, "role": event.source.get_role_name(), "name": event.source.get_name(),
                              "detail": event.detail1}), flush=True)

    listener = Atspi.EventListener.new(report)
    for kind in ("object:state-changed", "object:property-change", "object:children-changed"):
        listener.register(kind)
    pressed = next((element for element, _ in walk(application(pid))
                    if element.get_name() == name and element.get_n_actions()), None)
    if not pressed:
        sys.exit(f"nothing named {name!r} can be pressed")
    pressed.do_action(0)
    GLib.timeout_add(1000, Atspi.event_quit)
    Atspi.event_main()


if __name__ == "__main__":
    if sys.argv[1] == "tree":
        tree(int(sys.argv[2]))
    else:
        press(int(sys.argv[2]), sys.argv[3])
