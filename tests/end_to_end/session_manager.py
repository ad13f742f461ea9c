"""A session manager for one desktop, by libSM.

Prints one line an event, the first with the address that clients find it at (SESSION_MANAGER). SIGUSR1 asks all
clients to save themselves for the end of the session, SIGUSR2 lets them end then, and SIGHUP calls the end off.
"""

import ctypes
import select
import signal
import sys
from ctypes import CFUNCTYPE, POINTER, Structure, byref, c_char_p, c_int, c_ulong, c_void_p, cast

ice = ctypes.CDLL("libICE.so.6")
sm = ctypes.CDLL("libSM.so.6")
libc = ctypes.CDLL(None)

SAVE_LOCAL, SAVE_BOTH = 1, 2
INTERACT_NONE, INTERACT_ANY = 0, 2
SUCCESS = 0  # of IceProcessMessages

RegisterClient = CFUNCTYPE(c_int, c_void_p, c_void_p, c_void_p)
InteractRequest = CFUNCTYPE(None, c_void_p, c_void_p, c_int)
InteractDone = CFUNCTYPE(None, c_void_p, c_void_p, c_int)
SaveYourselfRequest = CFUNCTYPE(None, c_void_p, c_void_p, c_int, c_int, c_int, c_int, c_int)
Phase2Request = CFUNCTYPE(None, c_void_p, c_void_p)
SaveYourselfDone = CFUNCTYPE(None, c_void_p, c_void_p, c_int)
CloseConnection = CFUNCTYPE(None, c_void_p, c_void_p, c_int, POINTER(c_char_p))
SetProperties = CFUNCTYPE(None, c_void_p, c_void_p, c_int, c_void_p)
DeleteProperties = CFUNCTYPE(None, c_void_p, c_void_p, c_int, c_void_p)
GetProperties = CFUNCTYPE(None, c_void_p, c_void_p)
NewClient = CFUNCTYPE(c_int, c_void_p, c_void_p, POINTER(c_ulong), c_void_p, POINTER(c_char_p))
HostAuth = CFUNCTYPE(c_int, c_char_p)

CALLBACKS = [
    ("register_client", RegisterClient),
    ("interact_request", InteractRequest),
    ("interact_done", InteractDone),
    ("save_yourself_request", SaveYourselfRequest),
    ("phase2_request", Phase2Request),
    ("save_yourself_done", SaveYourselfDone),
    ("close_connection", CloseConnection),
    ("set_properties", SetProperties),
    ("delete_properties", DeleteProperties),
    ("get_properties", GetProperties),
]


class SmsCallbacks(Structure):
    _fields_ = [
        field
        for name, kind in CALLBACKS
        for field in ((name, kind), (name + "_data", c_void_p))
    ]


def declare(library, name, result, *arguments):
    function = getattr(library, name)
    function.restype = result
    function.argtypes = arguments


declare(sm, "SmsInitialize", c_int, c_char_p, c_char_p, NewClient, c_void_p, HostAuth, c_int, c_char_p)
declare(sm, "SmsGenerateClientID", c_void_p, c_void_p)
declare(sm, "SmsRegisterClientReply", c_int, c_void_p, c_void_p)
declare(sm, "SmsSaveYourself", None, c_void_p, c_int, c_int, c_int, c_int)
declare(sm, "SmsSaveYourselfPhase2", None, c_void_p)
declare(sm, "SmsInteract", None, c_void_p)
declare(sm, "SmsReturnProperties", None, c_void_p, c_int, c_void_p)
declare(sm, "SmsDie", None, c_void_p)
declare(sm, "SmsSaveComplete", None, c_void_p)
declare(sm, "SmsShutdownCancelled", None, c_void_p)
declare(sm, "SmsGetIceConnection", c_void_p, c_void_p)
declare(sm, "SmsCleanUp", None, c_void_p)
declare(
    ice, "IceListenForConnections", c_int, POINTER(c_int), POINTER(POINTER(c_void_p)), c_int, c_char_p
)
declare(ice, "IceComposeNetworkIdList", c_void_p, c_int, POINTER(c_void_p))
declare(ice, "IceFreeListenObjs", None, c_int, POINTER(c_void_p))
declare(ice, "IceGetListenConnectionNumber", c_int, c_void_p)
declare(ice, "IceSetHostBasedAuthProc", None, c_void_p, HostAuth)
declare(ice, "IceAcceptConnection", c_void_p, c_void_p, POINTER(c_int))
declare(ice, "IceConnectionStatus", c_int, c_void_p)
declare(ice, "IceConnectionNumber", c_int, c_void_p)
declare(ice, "IceProcessMessages", c_int, c_void_p, c_void_p, c_void_p)
declare(ice, "IceSetShutdownNegotiation", None, c_void_p, c_int)
declare(ice, "IceCloseConnection", c_int, c_void_p)
libc.free.argtypes = [c_void_p]

clients = []  # Registered, by their session connections.
connections = []  # Open ICE connections.
isEnding = False


def say(text):
    print(text, flush=True)


def registerClient(client, _data, previous):
    identifier = sm.SmsGenerateClientID(client)
    sm.SmsRegisterClientReply(client, identifier)
    libc.free(identifier)
    clients.append(client)
    say("registered")
    if not previous:
        sm.SmsSaveYourself(client, SAVE_LOCAL, False, INTERACT_NONE, False)
    return 1


def saveYourselfDone(client, _data, success):
    if isEnding:
        say("saved" if success else "refused")
    else:
        sm.SmsSaveComplete(client)


def closeConnection(client, _data, _count, _reasons):
    clients.remove(client)
    connection = sm.SmsGetIceConnection(client)
    connections.remove(connection)
    sm.SmsCleanUp(client)
    ice.IceSetShutdownNegotiation(connection, False)
    ice.IceCloseConnection(connection)
    say("closed")


ACTIONS = {
    "register_client": registerClient,
    "interact_request": lambda client, *_: sm.SmsInteract(client),
    "phase2_request": lambda client, *_: sm.SmsSaveYourselfPhase2(client),
    "save_yourself_done": saveYourselfDone,
    "close_connection": closeConnection,
    "get_properties": lambda client, *_: sm.SmsReturnProperties(client, 0, None),
}
callbacks = SmsCallbacks()
for name, kind in CALLBACKS:
    setattr(callbacks, name, kind(ACTIONS.get(name, lambda *_: None)))


def newClient(_client, _data, mask, wanted, _failure):
    mask[0] = (1 << len(CALLBACKS)) - 1
    ctypes.memmove(wanted, byref(callbacks), ctypes.sizeof(callbacks))
    return 1


newClientCallback = NewClient(newClient)
allowHost = HostAuth(lambda _host: 1)


def everyClient(action):
    for client in list(clients):
        action(client)


def onSignal(number, _frame):
    global isEnding
    isEnding = number != signal.SIGHUP
    if number == signal.SIGUSR1:
        everyClient(lambda client: sm.SmsSaveYourself(client, SAVE_BOTH, True, INTERACT_ANY, False))
    elif number == signal.SIGUSR2:
        everyClient(sm.SmsDie)
    else:
        everyClient(sm.SmsShutdownCancelled)


def main():
    error = ctypes.create_string_buffer(256)
    if not sm.SmsInitialize(b"Zelvo", b"1", newClientCallback, None, allowHost, 256, error):
        raise RuntimeError(error.value.decode())
    count = c_int()
    listening = POINTER(c_void_p)()
    if not ice.IceListenForConnections(byref(count), byref(listening), 256, error):
        raise RuntimeError(error.value.decode())
    listeners = [listening[i] for i in range(count.value)]
    for listener in listeners:
        ice.IceSetHostBasedAuthProc(listener, allowHost)
    for number in (signal.SIGUSR1, signal.SIGUSR2, signal.SIGHUP):
        signal.signal(number, onSignal)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit())
    addresses = cast(ice.IceComposeNetworkIdList(count, listening), c_char_p).value.decode()
    say("listens " + next(each for each in addresses.split(",") if each.startswith("local/")))
    try:
        serve(listeners)
    finally:
        ice.IceFreeListenObjs(count, listening)


def serve(listeners):
    while True:
        waiting = {ice.IceGetListenConnectionNumber(each): each for each in listeners}
        open_ = {ice.IceConnectionNumber(each): each for each in connections}
        readable, _, _ = select.select([*waiting, *open_], [], [], 0.02)
        for descriptor in readable:
            if descriptor in waiting:
                status = c_int()
                connection = ice.IceAcceptConnection(waiting[descriptor], byref(status))
                if connection:
                    connections.append(connection)
                continue
            connection = open_[descriptor]
            # A client may be gone for what another one said, or close its own connection in the call.
            if connection in connections and ice.IceProcessMessages(connection, None, None) != SUCCESS:
                if connection in connections:
                    connections.remove(connection)


main()
