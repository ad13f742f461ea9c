#!/usr/bin/python3
"""A backend of xdg-desktop-portal that grants everything at once, or whose dialog a test answers. Events and pictures are
made by GNOME's compositor.

Control, on the session bus: dev.zelvo.test.Backend at /dev/zelvo/test.
  Answer(s)    what the next dialogs answer: allow, deny, end, noInput, noPictures, never
  Withdraw(u)  ends all sessions that many milliseconds later
  Dialogs()    how many dialogs were opened so far
"""
from gi.repository import Gio, GLib

MUTTER = "org.gnome.Mutter."
DIALOG = '<arg type="o" direction="in"/><arg type="o" direction="in"/><arg type="s" direction="in"/>'
RESULT = '<arg type="a{sv}" direction="in"/><arg type="u" direction="out"/><arg type="a{sv}" direction="out"/>'


def dialog(name, extra=""):
    return f'<method name="{name}">{DIALOG}{extra}{RESULT}</method>'


def notify(name, types):
    args = "".join(f'<arg type="{kind}" direction="in"/>' for kind in ["o", "a{sv}", *types])
    return f'<method name="{name}">{args}</method>'


def reads(name):
    return f'<property name="{name}" type="u" access="read"/>'


PARENT = '<arg type="s" direction="in"/>'
XML = f"""<node>
<interface name="org.freedesktop.impl.portal.RemoteDesktop">
{dialog("CreateSession")}{dialog("SelectDevices")}{dialog("Start", PARENT)}
{notify("NotifyPointerMotion", "dd")}{notify("NotifyPointerMotionAbsolute", "udd")}
{notify("NotifyPointerButton", "iu")}{notify("NotifyPointerAxis", "dd")}
{notify("NotifyPointerAxisDiscrete", "ui")}{notify("NotifyKeyboardKeycode", "iu")}
{notify("NotifyKeyboardKeysym", "iu")}
<method name="ConnectToEIS"><arg type="o" direction="in"/><arg type="s" direction="in"/>
<arg type="a{{sv}}" direction="in"/><arg type="h" direction="out"/></method>
{reads("AvailableDeviceTypes")}{reads("version")}
</interface>
<interface name="org.freedesktop.impl.portal.ScreenCast">
{dialog("CreateSession")}{dialog("SelectSources")}{dialog("Start", PARENT)}
{reads("AvailableSourceTypes")}{reads("AvailableCursorModes")}{reads("version")}
</interface>
<interface name="org.freedesktop.impl.portal.Session">
<method name="Close"/><signal name="Closed"/>{reads("version")}
</interface>
<interface name="org.freedesktop.impl.portal.Request"><method name="Close"/></interface>
<interface name="dev.zelvo.test.Backend">
<method name="Answer"><arg type="s" direction="in"/></method>
<method name="Withdraw"><arg type="u" direction="in"/></method>
<method name="Dialogs"><arg type="u" direction="out"/></method>
</interface></node>"""
INTERFACES = {one.name: one for one in Gio.DBusNodeInfo.new_for_xml(XML).interfaces}
NUMBERS = {"AvailableDeviceTypes": 7, "AvailableSourceTypes": 1, "AvailableCursorModes": 7, "version": 4}
V = GLib.Variant


class Session:
    """A session of the portal, and the two of the compositor behind it."""

    def __init__(self, backend, path):
        self.backend, self.path = backend, path
        self.remote, self.streams = None, {}
        self.persists, self.is_restored = False, False
        self.object = backend.export(path, "Session", lambda *_: self.close())

    def start(self, answer):
        bus = self.backend
        self.remote = bus.mutter("RemoteDesktop", "", "CreateSession", None).unpack()[0]
        identity = bus.property("RemoteDesktop.Session", self.remote, "SessionId")
        cast = bus.mutter("ScreenCast", "", "CreateSession",
                          V("(a{sv})", ({"remote-desktop-session-id": V("s", identity)},))).unpack()[0]
        nodes = {}
        for name in bus.connectors():
            stream = bus.mutter("ScreenCast.Session", cast, "RecordMonitor",
                                V("(sa{sv})", (name, {"cursor-mode": V("u", 1)}))).unpack()[0]
            bus.bus.signal_subscribe(None, MUTTER + "ScreenCast.Stream", "PipeWireStreamAdded", stream, None, 0,
                                     lambda *a, stream=stream: nodes.update({stream: a[5].unpack()[0]}))
        bus.mutter("RemoteDesktop.Session", self.remote, "Start", None)
        context = GLib.MainContext.default()
        while len(nodes) < len(bus.connectors()):
            context.iteration(True)
        self.streams = {node: stream for stream, node in nodes.items()}
        results = {"devices": V("u", 0 if answer == "noInput" else 3)}
        if answer != "noPictures":
            results["streams"] = V("a(ua{sv})", [self.described(node) for node in sorted(self.streams)])
        if self.persists:
            results["persist_mode"] = V("u", 2)
            results["restore_data"] = V("(suv)", ("zt", 1, V("s", "what was granted")))
        return results

    def select(self, options):
        self.persists |= options.get("persist_mode", 0) == 2
        self.is_restored |= options.get("restore_data", ("",))[0] == "zt"

    def described(self, node):
        parameters = self.backend.property("ScreenCast.Stream", self.streams[node], "Parameters")
        return (node, {"source_type": V("u", 1),
                       **{name: V("(ii)", parameters[name]) for name in ("position", "size")},
                       **{"mapping_id": V("s", parameters[name]) for name in parameters if name == "mapping-id"}})

    def notify(self, name, values):
        if name == "NotifyPointerMotionAbsolute":
            values[0] = self.streams[values[0]]
        self.backend.mutter("RemoteDesktop.Session", self.remote, name, V(*{
            "NotifyPointerMotion": ("(dd)", values), "NotifyPointerMotionAbsolute": ("(sdd)", values),
            "NotifyPointerButton": ("(ib)", values), "NotifyPointerAxis": ("(ddu)", [*values, 0]),
            "NotifyPointerAxisDiscrete": ("(ui)", values), "NotifyKeyboardKeycode": ("(ub)", values),
            "NotifyKeyboardKeysym": ("(ub)", values)}[name]), waits=False)

    def connect(self, call):
        _, descriptors = self.backend.bus.call_with_unix_fd_list_sync(
            MUTTER + "RemoteDesktop", self.remote, MUTTER + "RemoteDesktop.Session", "ConnectToEIS",
            V("(a{sv})", ({},)), None, 0, 5000, None, None)
        call.return_value_with_unix_fd_list(V("(h)", (0,)), descriptors)
        return NotImplemented

    def close(self):
        if self.path in self.backend.sessions:
            del self.backend.sessions[self.path]
            if self.remote:
                self.backend.mutter("RemoteDesktop.Session", self.remote, "Stop", None, waits=False)
            self.backend.bus.unregister_object(self.object)


class Backend:
    def __init__(self):
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        self.answer, self.dialogs, self.sessions = "allow", 0, {}

    def serve(self):
        path = "/org/freedesktop/portal/desktop"
        self.export(path, "RemoteDesktop", self.handle)
        self.export(path, "ScreenCast", self.handle)
        self.export("/dev/zelvo/test", "dev.zelvo.test.Backend", self.control)
        for name in ("org.freedesktop.impl.portal.desktop.zt", "dev.zelvo.test.Backend"):
            Gio.bus_own_name_on_connection(self.bus, name, 0, None, None)
        GLib.MainLoop().run()

    def export(self, path, interface, handle):
        described = INTERFACES.get(interface) or INTERFACES["org.freedesktop.impl.portal." + interface]
        return self.bus.register_object(
            path, described, lambda _b, _s, _p, _i, method, args, call: self.reply(handle, method, args, call),
            lambda _b, _s, _p, _i, name: V("u", NUMBERS[name]), None)

    @staticmethod
    def reply(handle, method, args, call):
        result = handle(method, list(args.unpack()), call)
        if result is not NotImplemented:
            call.return_value(result)

    def handle(self, method, args, call):
        if method.startswith("Notify"):
            if args[0] in self.sessions:
                self.sessions[args[0]].notify(method, args[2:])
        elif method == "ConnectToEIS":
            return self.sessions[args[0]].connect(call)
        elif method == "CreateSession":
            self.sessions[args[1]] = Session(self, args[1])
            return V("(ua{sv})", (0, {"session_id": V("s", "zt")}))
        elif method == "Start":
            self.dialogs += not self.sessions[args[1]].is_restored
            return self.answered(self.sessions[args[1]], args[0], call)
        else:
            self.sessions[args[1]].select(args[-1])
            return V("(ua{sv})", (0, {}))
        return None

    def answered(self, session, path, call):
        if session.is_restored:
            return V("(ua{sv})", (0, session.start("allow")))
        if self.answer == "never":
            closing = []

            def close(*_):
                self.bus.unregister_object(closing[0])
                call.return_value(V("(ua{sv})", (2, {})))
            closing.append(self.export(path, "Request", close))
            return NotImplemented
        if self.answer in ("deny", "end"):
            return V("(ua{sv})", (1 if self.answer == "deny" else 2, {}))
        return V("(ua{sv})", (0, session.start(self.answer)))

    def control(self, method, args, _call):
        if method == "Dialogs":
            return V("(u)", (self.dialogs,))
        if method == "Answer":
            self.answer = args[0]
        else:
            GLib.timeout_add(args[0], self.withdraw)
        return None

    def withdraw(self):
        for session in list(self.sessions.values()):
            self.bus.emit_signal(None, session.path, "org.freedesktop.impl.portal.Session", "Closed", None)
            session.close()
        return False

    def mutter(self, interface, path, method, args, waits=True):
        name = MUTTER + interface.split(".")[0]
        target = (name, path or "/" + name.replace(".", "/"), MUTTER + interface, method, args, None, 0, 5000)
        if waits:
            return self.bus.call_sync(*target, None)
        return self.bus.call(*target, None, None)

    def property(self, interface, path, name):
        return self.bus.call_sync(MUTTER + interface.split(".")[0], path, "org.freedesktop.DBus.Properties", "Get",
                                  V("(ss)", (MUTTER + interface, name)), None, 0, 5000, None).unpack()[0]

    def connectors(self):
        state = self.mutter("DisplayConfig", "", "GetCurrentState", None).unpack()
        return [monitors[0][0] for *_, monitors, _properties in state[2]]


Backend().serve()
