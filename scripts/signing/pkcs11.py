"""An Ed25519 key in a token, by the token's own library. pkcs11-tool signs at most 4 KiB this way, and OpenSSL's engine
knows no Ed25519."""
import ctypes
import getpass
import pathlib
import sys
import urllib.parse

from .refused import Refused

DEFAULT_MODULE = "p11-kit-proxy.so"
OBJECT_CLASS, LABEL, ID, EC_POINT = 0x0, 0x3, 0x102, 0x181
PUBLIC, PRIVATE = 2, 3
EDDSA = 0x1057
SERIAL_SESSION, USER = 4, 1
PUBLIC_LENGTH, SIGNATURE_LENGTH = 32, 64
NUMBER = ctypes.c_ulong


class Attribute(ctypes.Structure):
    _fields_ = [("kind", NUMBER), ("value", ctypes.c_void_p), ("length", NUMBER)]


class Mechanism(ctypes.Structure):
    _fields_ = [("kind", NUMBER), ("parameter", ctypes.c_void_p), ("length", NUMBER)]


def read_uri(uri):
    """The attributes of a URI of RFC 7512: token, object, id, and from its query module-path and pin-source."""
    path, _, query = uri.removeprefix("pkcs11:").partition("?")
    parts = [part.partition("=") for part in [*path.split(";"), *query.split("&")] if part]
    known = {name: urllib.parse.unquote_to_bytes(value) for name, _, value in parts}
    if "pin-value" in known:
        raise Refused("a PIN in the URI can be read in the list of processes; give pin-source=/FILE, or type it")
    if "object" not in known and "id" not in known:
        raise Refused("the PKCS#11 URI names no key; give it object= or id=")
    return known


def read_pin(source):
    if source:
        return pathlib.Path(source.decode().removeprefix("file:")).read_bytes().rstrip(b"\n")
    if not sys.stdin.isatty():
        raise Refused("the token needs a PIN; give pin-source=/FILE in the URI, or run this in a terminal")
    return getpass.getpass("PIN of the token: ").encode()


class TokenKey:
    """The key that a PKCS#11 URI names. Its token stays open until the process ends."""

    def __init__(self, uri):
        self.known = read_uri(uri)
        module = self.known.get("module-path", DEFAULT_MODULE.encode()).decode()
        try:
            self.library = ctypes.CDLL(module)
        except OSError as error:
            raise Refused(f"the PKCS#11 library {module} cannot be loaded: {error}") from error
        self.call("C_Initialize", None)
        self.session = self.open_session()
        pin = read_pin(self.known.get("pin-source"))
        self.call("C_Login", self.session, NUMBER(USER), pin, NUMBER(len(pin)))
        self.private = self.find(PRIVATE)
        self.public = self.read_point(self.find(PUBLIC))

    def public_key(self):
        return self.public

    def sign(self, path):
        data = pathlib.Path(path).read_bytes()
        mechanism = Mechanism(EDDSA, None, 0)
        self.call("C_SignInit", self.session, ctypes.byref(mechanism), self.private)
        signature, length = ctypes.create_string_buffer(SIGNATURE_LENGTH), NUMBER(SIGNATURE_LENGTH)
        self.call("C_Sign", self.session, data, NUMBER(len(data)), signature, ctypes.byref(length))
        return signature.raw[:length.value]

    def call(self, name, *arguments):
        function = getattr(self.library, name)
        function.restype = NUMBER
        status = function(*arguments)
        if status:
            raise Refused(f"the token's {name} failed with 0x{status:x}")

    def open_session(self):
        count = NUMBER(0)
        self.call("C_GetSlotList", ctypes.c_ubyte(1), None, ctypes.byref(count))
        slots = (NUMBER * count.value)()
        self.call("C_GetSlotList", ctypes.c_ubyte(1), slots, ctypes.byref(count))
        chosen = [slot for slot in slots if self.known.get("token") in (None, self.label_of(slot))]
        if len(chosen) != 1:
            raise Refused(f"{len(chosen)} tokens match the PKCS#11 URI where one is needed")
        session = NUMBER()
        self.call("C_OpenSession", NUMBER(chosen[0]), NUMBER(SERIAL_SESSION), None, None, ctypes.byref(session))
        return session

    def label_of(self, slot):
        # A token's description begins with its label, padded with blanks to 32 bytes, and is below 512 bytes long.
        description = ctypes.create_string_buffer(512)
        self.call("C_GetTokenInfo", NUMBER(slot), description)
        return description.raw[:32].rstrip(b" ")

    def find(self, kind):
        wanted = [(OBJECT_CLASS, bytes(NUMBER(kind)))]
        wanted += [(code, self.known[name]) for name, code in (("object", LABEL), ("id", ID)) if name in self.known]
        attributes = (Attribute * len(wanted))()
        kept = [ctypes.create_string_buffer(value, len(value)) for _, value in wanted]
        for attribute, (code, value), buffer in zip(attributes, wanted, kept):
            attribute.kind, attribute.value, attribute.length = code, ctypes.addressof(buffer), len(value)
        found, count = (NUMBER * 2)(), NUMBER()
        self.call("C_FindObjectsInit", self.session, attributes, NUMBER(len(wanted)))
        self.call("C_FindObjects", self.session, found, NUMBER(2), ctypes.byref(count))
        self.call("C_FindObjectsFinal", self.session)
        if count.value != 1:
            raise Refused(f"the token has {count.value} {'public' if kind == PUBLIC else 'private'} keys of that name, not one")
        return NUMBER(found[0])

    def read_point(self, key):
        buffer = ctypes.create_string_buffer(128)
        attribute = Attribute(EC_POINT, ctypes.addressof(buffer), len(buffer))
        self.call("C_GetAttributeValue", self.session, key, ctypes.byref(attribute), NUMBER(1))
        point = buffer.raw[:attribute.length].removeprefix(b"\x04\x20")  # Some tokens wrap it as an octet string.
        if len(point) != PUBLIC_LENGTH:
            raise Refused("the token's key is no Ed25519 key")
        return point
