"""How an archive updates itself: a publisher with a key and a server, inside the trial's system."""
import json
import shlex
import shutil
import subprocess
import sys

from .reporting import MINUTE, ROOT, Failed
from .root import PERSON

VERSION = "9.0.0"
SERVED = "/srv/updates"
CERTIFICATE = "/srv/tls.pem"
RECORD = f"/home/{PERSON}/.local/share/dev.zelvo.agent/updates/update.json"


class Publisher:
    """Offers the program of an archive as a newer version."""

    def __init__(self, system, folder):
        self.system = system
        self.folder = folder / "publisher"
        self.inside = system.root.root / "srv"
        self.key = self.folder / "key.pem"
        self.folder.mkdir()
        self.host("openssl", "genpkey", "-algorithm", "ed25519", "-out", self.key)
        self.key.chmod(0o600)
        self.host("openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", "2",
                  "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost", "-keyout", self.inside / "tls.key",
                  "-out", self.inside / "tls.pem")
        self.address = f"https://localhost:{self.serve()}"

    def host(self, *command):
        return subprocess.run([str(part) for part in command], check=True, capture_output=True, text=True, timeout=5 * MINUTE).stdout

    def make_feed(self, *arguments):
        return self.host(sys.executable, ROOT / "scripts/make-feed", "--key", self.key, *arguments).strip()

    def serve(self):
        shutil.copy2(ROOT / "tests/end_to_end/update_server.py", self.inside)
        (self.inside / "updates").mkdir()
        self.system.answer(f"systemd-run --quiet --unit=updates python3 /srv/update_server.py {SERVED} {CERTIFICATE} /srv/tls.key "
                           "/srv/updates.port")
        self.system.until("the server of updates runs", lambda: self.system.status("test -s /srv/updates.port") == 0)
        return self.system.answer("cat /srv/updates.port")

    def publish(self, archive):
        content = self.folder / "content"
        content.mkdir()
        self.host("tar", "-C", content, "-xf", archive)
        information = content / "zelvo-agent/Info.json"
        information.write_text(json.dumps(self.newer(json.loads(information.read_text()))))
        made = self.inside / "updates" / f"zelvo-agent-{VERSION}-linux-x86_64.tar.xz"
        self.host("tar", "-C", content, "-I", "xz -0", "--owner=0", "--group=0", "-cf", made, "zelvo-agent")
        notes = self.folder / "notes"
        notes.write_text("A newer version.")
        self.make_feed("--version", VERSION, "--base", self.address, "--notes", notes,
                       "--out", self.inside / "updates/zelvo-agent.json", made)

    def newer(self, information):
        return {**self.prepared(information), "CFBundleShortVersionString": VERSION}

    def prepared(self, information):
        return {**information, "SUFeedURL": f"{self.address}/zelvo-agent.json",
                "SUPublicEDKey": self.make_feed("--print-public-key")}

    def prepare(self, path):
        """Makes an unpacked archive one of this publisher."""
        text = json.dumps(self.prepared(json.loads(self.system.answer(f"cat {path}"))))
        self.system.answer(self.system.as_person(f"echo {shlex.quote(text)} >{path}"))


class UpdatedArchive:
    """An unpacked archive that updates itself to the next version when it quits."""

    def __init__(self, system, used, folder):
        self.system = system
        self.used = used
        self.folder = folder
        name = folder.rpartition("/")
        self.standby = f"{name[0]}/.{name[2]}.standby"

    def start(self):
        self.system.answer(f"systemd-run --quiet --unit=archive --uid={PERSON} -E HOME=/home/{PERSON} -E DISPLAY=:7 "
                           f"-E XDG_RUNTIME_DIR=/run/user/1000 -E SSL_CERT_FILE={CERTIFICATE} {self.folder}/zelvo-agent")

    def stop(self):
        self.system.answer("systemctl stop archive")

    def version(self):
        return json.loads(self.system.answer(f"cat {self.folder}/Info.json"))["CFBundleShortVersionString"]

    def is_ready(self):
        text = self.system.ran(f"cat {RECORD}").stdout
        return bool(text) and json.loads(text).get("lastCheck", 0) > 0

    def run(self):
        self.start()
        self.used.take_screenshot()
        self.system.until("the next version is ready, some time after the first minute", self.is_ready, 3 * MINUTE)
        self.stop()
        if self.version() != VERSION or self.system.status(f"test -x {self.standby}/zelvo-agent"):
            raise Failed(f"at its end it has not installed the next version: {self.version()}")
        self.start()
        self.used.take_screenshot()
        self.system.until("the first heartbeat removes the old version",
                          lambda: self.system.status(f"test -e {self.standby}") != 0)
        self.stop()
