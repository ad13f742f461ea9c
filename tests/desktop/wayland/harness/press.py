# Carries out the first action of an application's element. press.py PID NAME
import sys

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi


def find(element, name):
    if element.get_name() == name and element.get_action_iface() and element.get_n_actions() > 0:
        return element
    for at in range(element.get_child_count()):
        child = element.get_child_at_index(at)
        if child and (found := find(child, name)):
            return found
    return None


desktop = Atspi.get_desktop(0)
for at in range(desktop.get_child_count()):
    application = desktop.get_child_at_index(at)
    if application and application.get_process_id() == int(sys.argv[1]):
        element = find(application, sys.argv[2])
        sys.exit(0 if element and element.do_action(0) else 1)
sys.exit(1)
