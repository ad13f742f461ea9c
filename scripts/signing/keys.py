"""Ed25519 keys that releases are signed with: a PEM file, or a token that a PKCS#11 URI names."""
import base64
import pathlib
import stat
import subprocess
import tempfile

from . import pkcs11
from .refused import Refused

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
# The fixed bytes before the 32 of an Ed25519 public key in a SubjectPublicKeyInfo.
PUBLIC_PREFIX = bytes.fromhex("302a300506032b6570032100")


def open_key(name):
    """The key of a PKCS#11 URI or of a file, as an object with sign(path) and public_key()."""
    key = pkcs11.TokenKey(name) if name.startswith("pkcs11:") else FileKey(pathlib.Path(name))
    assert_verifies(key)
    return key


def openssl(*arguments, given=None):
    done = subprocess.run(["openssl", *map(str, arguments)], input=given, capture_output=True, check=False)
    if done.returncode:
        raise Refused(f"openssl {arguments[0]}: {done.stderr.decode(errors='replace').strip().splitlines()[:1]}")
    return done.stdout


class FileKey:
    """A private key in a PEM file outside of the repository, which nobody else can read."""

    def __init__(self, path):
        self.path = path.resolve()
        if not self.path.is_file():
            raise Refused(f"there is no key file {path}")
        if self.path.is_relative_to(ROOT):
            raise Refused("the key file is inside the repository; keep it elsewhere")
        if self.path.stat().st_mode & (stat.S_IRWXG | stat.S_IRWXO):
            raise Refused(f"others may use the key file; `chmod 600 {self.path}` ends that")
        encoded = openssl("pkey", "-in", self.path, "-pubout", "-outform", "DER")
        if not encoded.startswith(PUBLIC_PREFIX):
            raise Refused("the key file holds no Ed25519 key; `openssl genpkey -algorithm ed25519` makes one")
        self.public = encoded[len(PUBLIC_PREFIX):]

    def public_key(self):
        return self.public

    def sign(self, path):
        return openssl("pkeyutl", "-sign", "-rawin", "-inkey", self.path, "-in", path)


def sign_text(key, text):
    with tempfile.NamedTemporaryFile() as file:
        file.write(text.encode())
        file.flush()
        return key.sign(file.name)


def verifies(public, path, signature):
    """Whether a signature of the file at `path` is that of a public key, given as its 32 bytes."""
    with tempfile.TemporaryDirectory() as folder:
        key, signed = pathlib.Path(folder, "key"), pathlib.Path(folder, "signature")
        key.write_bytes(PUBLIC_PREFIX + public)
        signed.write_bytes(signature)
        return subprocess.run(["openssl", "pkeyutl", "-verify", "-rawin", "-pubin", "-keyform", "DER", "-inkey", key,
                               "-in", path, "-sigfile", signed], capture_output=True, check=False).returncode == 0


def assert_verifies(key):
    """A token may hold a public key that is not that of its private key."""
    with tempfile.NamedTemporaryFile() as file:
        file.write(b"trial")
        file.flush()
        if not verifies(key.public_key(), file.name, key.sign(file.name)):
            raise Refused("what the key signs does not verify by its public key")


def base64_text(data):
    return base64.b64encode(data).decode()
