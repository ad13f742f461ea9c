#!/usr/bin/python3
"""A front end of the portals without a desktop: each dialog is answered as the test says.

Control, on the session bus: dev.zelvo.test.Portal at /dev/zelvo/test.
  Set(s, s)   a setting below, by its name
  Calls()     the portals' methods that were called, with the names of their options
  Withdraw()  closes all sessions
Argument: settings as NAME=VALUE.
"""
import sys
from gi.repository import Gio, GLib

V = GLib.Variant
ROOT = "/org/freedesktop/portal/desktop"
SETTINGS = {"RemoteDesktop": "2", "ScreenCast": "4", "Clipboard": "0", "GlobalShortcuts": "0",
            "answer": "allow",    # deny, end, never, noInput, noStreams, forged, closed, wrongTypes, huge, badHandle
            "token": "",          # the only one that is known; else a dialog opens
            "next": "",           # the token of the next grant
            "slow": ""}           # the method that never answers


def method(name, types, gives="o"):
    args = "".join(f'<arg type="{kind}" direction="in"/>' for kind in types)
    return f'<method name="{name}">{args}<arg type="{gives}" direction="out"/></method>'


def notify(name, types):
    args = "".join(f'<arg type="{kind}" direction="in"/>' for kind in ["o", "a{sv}", *types])
    return f'<method name="{name}">{args}</method>'


OPTIONS, SESSION = ["a{sv}"], ["o", "a{sv}"]
METHODS = {
    "RemoteDesktop": method("CreateSession", OPTIONS) + method("SelectDevices", SESSION) +
    method("Start", ["o", "s", "a{sv}"]) + notify("NotifyKeyboardKeycode", "iu") +
    notify("NotifyPointerButton", "iu") + notify("NotifyPointerMotion", "dd") +
    notify("NotifyPointerMotionAbsolute", "udd") + notify("NotifyPointerAxisDiscrete", "ui"),
    "ScreenCast": method("CreateSession", OPTIONS) + method("SelectSources", SESSION) +
    method("Start", ["o", "s", "a{sv}"]) + method("OpenPipeWireRemote", SESSION, "h"),
    "Clipboard": notify("RequestClipboard", []),
    "GlobalShortcuts": method("CreateSession", OPTIONS) +
    method("BindShortcuts", ["o", "a(sa{sv})", "s", "a{sv}"]) +
    '<signal name="Activated"><arg type="o"/><arg type="s"/><arg type="t"/><arg type="a{sv}"/></signal>',
}


def nodes(xml):
    return Gio.DBusNodeInfo.new_for_xml(f"<node>{xml}</node>").interfaces


class Portal:
    def __init__(self):
        SETTINGS.update(argument.split("=", 1) for argument in sys.argv[1:])
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        self.calls, self.sessions, self.tokens, self.events = [], {}, {}, []

    def serve(self):
        for name, methods in METHODS.items():
            if SETTINGS[name] == "0":
                continue
            described = nodes(f'<interface name="org.freedesktop.portal.{name}">{methods}'
                              '<property name="version" type="u" access="read"/></interface>')[0]
            self.export(ROOT, described, lambda *call, name=name: self.handle(name, *call), int(SETTINGS[name]))
        store = method("Lookup", "ss", "a{sas}") .replace("</method>", '<arg type="v" direction="out"/></method>')
        self.export("/org/freedesktop/impl/portal/PermissionStore",
                    nodes(f'<interface name="org.freedesktop.impl.portal.PermissionStore">{store}</interface>')[0],
                    self.look_up)
        control = method("Set", "ss", "b") + method("Calls", "", "as") + method("Withdraw", "", "b") + \
            method("Activate", "s", "b") + method("Events", "", "as")
        self.export("/dev/zelvo/test", nodes(f'<interface name="dev.zelvo.test.Portal">{control}</interface>')[0],
                    self.control)
        for name in ("org.freedesktop.impl.portal.PermissionStore", "org.freedesktop.portal.Desktop",
                     "dev.zelvo.test.Portal"):
            Gio.bus_own_name_on_connection(self.bus, name, 0, None, None)
        GLib.MainLoop().run()

    def export(self, path, described, handle, version=1):
        def called(_bus, sender, _path, _interface, name, args, call):
            handle(name, list(args.unpack()), sender, call)
        return self.bus.register_object(path, described, called, lambda *_: V("u", version), None)

    def look_up(self, _name, args, _sender, call):
        if args[1] and args[1] == SETTINGS["token"]:
            call.return_value(V("(a{sas}v)", ({"": ["yes"]}, V("s", ""))))
        else:
            call.return_dbus_error("org.freedesktop.portal.Error.NotFound", "no such entry")

    def control(self, name, args, _sender, call):
        if name == "Set":
            SETTINGS[args[0]] = args[1]
        elif name == "Withdraw":
            for session in list(self.sessions):
                self.emit(self.sessions.pop(session), session, "Session", "Closed", None)
        elif name == "Activate":
            for session, owner in self.sessions.items():
                self.emit(owner, ROOT, "GlobalShortcuts", "Activated", V("(osta{sv})", (session, args[0], 0, {})))
        if name in ("Calls", "Events"):
            call.return_value(V("(as)", (self.calls if name == "Calls" else self.events,)))
        else:
            call.return_value(V("(b)", (True,)))

    def emit(self, owner, path, interface, signal, value, bus=None):
        (bus or self.bus).emit_signal(owner, path, "org.freedesktop.portal." + interface, signal, value)

    def handle(self, interface, name, args, sender, call):
        options = args[-1] if isinstance(args[-1], dict) else {}
        if name.startswith("Notify"):
            self.events.append(" ".join([name, *map(str, args[2:])]))
            if args[0] not in self.sessions:
                return call.return_dbus_error("org.freedesktop.DBus.Error.AccessDenied", "Invalid session")
            return call.return_value(None)
        self.calls.append(" ".join([interface + "." + name,
                                    *sorted(key for key in options if not key.endswith("token") or
                                            key == "restore_token")]))
        if name == SETTINGS["slow"]:
            return None
        if name == "RequestClipboard":
            return call.return_value(None)
        if name == "OpenPipeWireRemote":
            with open("/dev/null") as file:
                fds = Gio.UnixFDList.new_from_array([])
                fds.append(file.fileno())
                return call.return_value_with_unix_fd_list(V("(h)", (0,)), fds)
        path = "/".join([ROOT, "request", sender[1:].replace(".", "_"), options["handle_token"]])
        if name == "SelectDevices" and not self.is_fit(options):
            return call.return_dbus_error("org.freedesktop.portal.Error.InvalidArgument", "Restore token is not valid")
        self.tokens.update({args[0]: options["restore_token"]} if "restore_token" in options else {})
        call.return_value(V("(o)", (path,)))
        self.answer(name, args, sender, path, options)
        return None

    @staticmethod
    def is_fit(options):
        return options.get("restore_token") != "unfit"

    def answer(self, name, args, sender, path, options):
        def respond(code, results=None, bus=None, owner=sender):
            self.emit(owner, path, "Request", "Response", V("(ua{sv})", (code, results or {})), bus)
        how = SETTINGS["answer"]
        if name == "CreateSession":
            session = "/".join([ROOT, "session", sender[1:].replace(".", "_"), options["session_handle_token"]])
            self.sessions[session] = sender
            return respond(0, {"session_handle": V("s", "not a path" if how == "badHandle" else session)})
        if name in ("SelectDevices", "SelectSources"):
            return respond(0)
        if self.tokens.get(args[0]) and self.tokens[args[0]] == SETTINGS["token"]:
            how = "allow"
        else:
            self.calls.append("dialog")
        if how == "never":
            return self.export(path, nodes('<interface name="org.freedesktop.portal.Request">'
                                           '<method name="Close"/></interface>')[0], self.close)
        if how in ("deny", "end"):
            return respond(1 if how == "deny" else 2)
        if name == "BindShortcuts":
            return respond(0, {"shortcuts": V("a(sa{sv})", [] if how == "noKey" else [(args[1][0][0], {})])})
        if how == "forged":
            other = Gio.DBusConnection.new_for_address_sync(
                Gio.dbus_address_get_for_bus_sync(Gio.BusType.SESSION),
                Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)
            respond(0, self.results(how), other)
            other.flush_sync()
            return respond(1)
        respond(0, self.results(how))
        if how == "closed":
            self.emit(self.sessions.pop(args[0]), args[0], "Session", "Closed", None)
        return None

    def close(self, _name, _args, _sender, call):
        self.calls.append("Request.Close")
        call.return_value(None)

    @staticmethod
    def results(how):
        if how == "wrongTypes":
            return {"devices": V("s", "3"), "streams": V("a(us)", [(7, "x")]), "restore_token": V("u", 7)}
        if how == "huge":
            return {"devices": V("u", 0xFFFFFFFF), "restore_token": V("s", "t" * 100000),
                    "streams": V("a(ua{sv})", [(node, {"size": V("(ii)", (-1, 1 << 30)),
                                                       "position": V("(ii)", (1 << 30, 0))})
                                               for node in range(1, 1000)])}
        results = {"devices": V("u", 1 if how == "noInput" else 3),
                   "streams": V("a(ua{sv})", [] if how == "noStreams" else
                                [(7, {"position": V("(ii)", (0, 0)), "size": V("(ii)", (1280, 800)),
                                      "source_type": V("u", 1), "unknown": V("a{sv}", {"x": V("(ii)", (1, 2))})})])}
        if SETTINGS["next"]:
            results["restore_token"] = V("s", SETTINGS["next"])
        return results


Portal().serve()
