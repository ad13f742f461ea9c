#!/usr/bin/python3
"""Reads the elements of a process with pyatspi, one call at a time, as a reference for tests.

Usage: read_elements.py PID [--wake] [--shown]. Prints one JSON object per line, an element before its children, the
application first, with its toolkit. --wake first asks the top-level elements for their attributes, which makes Chromium
build the elements of its pages. --shown leaves out elements that are not showing, and their descendants.
"""
import json
import sys
import time

import pyatspi

STATES = {
    name: getattr(pyatspi, "STATE_" + name.upper())
    for name in ("showing", "visible", "enabled", "sensitive", "focused", "checked", "expandable", "editable",
                 "has_popup", "multi_line", "selected", "active", "modal", "defunct")
}


def attempt(ask, otherwise=None):
    try:
        return ask()
    except Exception:  # pyatspi raises whatever error the bus or the application returns.
        return otherwise


def extents(element, kind):
    return attempt(lambda: list(element.queryComponent().getExtents(kind)))


def actions(element):
    action = attempt(element.queryAction)
    return [action.getName(i) for i in range(action.nActions)] if action else []


def text(element, states):
    """The text of an editable element."""
    if element.getRole() == pyatspi.ROLE_PASSWORD_TEXT:
        return None
    if "editable" not in states and not attempt(element.queryEditableText):
        return None
    found = attempt(element.queryText)
    return attempt(lambda: found.getText(0, found.characterCount))


def labels(element):
    found = []
    for relation in attempt(element.getRelationSet, []):
        if relation.getRelationType() == pyatspi.RELATION_LABELLED_BY:
            found += [relation.getTarget(i).name for i in range(relation.getNTargets())]
    return found


def describe(element, depth):
    found = attempt(element.getState)
    states = [name for name, state in STATES.items() if found and found.contains(state)]
    return {
        "depth": depth,
        "role": int(element.getRole()),
        "roleName": element.getRoleName(),
        "name": element.name,
        "description": element.description,
        "text": text(element, states),
        "labels": labels(element),
        "screen": extents(element, pyatspi.DESKTOP_COORDS),
        "window": extents(element, pyatspi.WINDOW_COORDS),
        "actions": attempt(lambda: actions(element), []),
        "states": states,
        "children": element.childCount,
        **({"toolkit": element.get_toolkit_name()} if depth == 0 else {}),
    }


def walk(element, depth=0):
    line = attempt(lambda: describe(element, depth))
    if line is None or depth > 60 or (depth > 0 and "--shown" in sys.argv and "showing" not in line["states"]):
        return
    print(json.dumps(line))
    for i in range(line["children"]):
        child = attempt(lambda: element.getChildAtIndex(i))
        if child is not None:
            walk(child, depth + 1)


def application(pid):
    found = [app for app in pyatspi.Registry.getDesktop(0) if app is not None]
    return next((app for app in found if attempt(app.get_process_id) == pid), None)


app = None
for _ in range(100):  # An application appears on the bus some time after its window.
    if (app := application(int(sys.argv[1]))) is not None:
        break
    time.sleep(0.1)
if app is None:
    sys.exit("no such application on the bus")
if "--wake" in sys.argv:
    for window in app:
        attempt(window.getAttributes)
    time.sleep(1)  # Chromium does not report when its pages are built.
sys.stdout.reconfigure(errors="replace")
walk(app)
