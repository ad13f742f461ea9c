"""Packaged gateway and agent, as their users use them."""
import json
import shlex
import time

from .readme import DECODE
from .reporting import Failed
from .root import PERSON

PORT = 8737
STATE = "/var/lib/zelvo-gateway"
KEYCHAIN = f"/home/{PERSON}/.local/share/dev.zelvo.agent/keychain"
SETTINGS = f"/home/{PERSON}/.config/dev.zelvo.agent/defaults"
ADDRESSES = {"ZelvoGatewayURL": f"ws://127.0.0.1:{PORT}", "ZelvoConsoleURL": f"http://127.0.0.1:{PORT}"}


class Used:
    def __init__(self, system):
        self.system = system
        self.connection = None

    def link(self):
        """Points the agent to the gateway and gives it a token of an unattended machine."""
        self.system.answer(f"mkdir -p /etc/zelvo-agent; echo {shlex.quote(json.dumps(ADDRESSES))} >/etc/zelvo-agent/Info.json")
        self.system.answer(f"runuser -u zelvo-gateway -- zelvo-gateway provision --data {STATE} --token-file {STATE}/token "
                           f"--connection-file {STATE}/connection")
        self.connection = self.system.answer(f"cat {STATE}/connection")
        self.system.answer(f"install -d -o {PERSON} -g {PERSON} -m 700 /home/{PERSON}/.config /home/{PERSON}/.local "
                           f"/home/{PERSON}/.local/share /home/{PERSON}/.local/share/dev.zelvo.agent {KEYCHAIN} "
                           f"/home/{PERSON}/.config/dev.zelvo.agent {SETTINGS}; "
                           f"install -o {PERSON} -g {PERSON} -m 600 {STATE}/token {KEYCHAIN}/dev.zelvo.agent.machine_token; "
                           f"rm {STATE}/token {STATE}/connection")
        # Nobody is there to be welcomed.
        self.system.answer(self.system.as_person(f"echo true >{SETTINGS}/zelvo.welcomeSeen.json; "
                                                 f"echo '\"cloud\"' >{SETTINGS}/ZelvoMode.json"))

    def address_archive(self, information):
        """Points an unpacked archive to the gateway."""
        given = json.loads(self.system.answer(f"cat {information}"))
        text = json.dumps({**given, **ADDRESSES})
        self.system.answer(self.system.as_person(f"echo {shlex.quote(text)} >{information}"))

    def ask(self, path, body=None):
        given = f"-d {shlex.quote(json.dumps(body))}" if body is not None else ""
        return self.system.ran(f"curl -sS --fail-with-body -H @{STATE}/authorization.header {given} http://127.0.0.1:{PORT}{path}")

    def connections(self):
        return sorted(one["id"] for one in json.loads(self.ask("/v1/connections").stdout)["data"])

    def take_screenshot(self):
        """Asks until the agent is connected, and decodes the picture."""
        due = time.monotonic() + 30
        while True:
            done = self.ask(f"/v1/connections/{self.connection}/commands", {"method": "screenshot", "params": {}})
            if done.returncode == 0:
                break
            if time.monotonic() > due:
                raise Failed(f"no screenshot: {done.stdout[:500]}{done.stderr[:500]}")
            time.sleep(1)
        data = json.loads(done.stdout)["result"]["data"]
        (self.system.root.root / "srv/screen.txt").write_text(data)
        size = json.loads(self.system.answer(f"base64 -d /srv/screen.txt >/srv/screen.jpg && python3 -c {shlex.quote(DECODE)} "
                                             "/srv/screen.jpg"))
        if size != {"width": 1280, "height": 800, "plain": False}:
            raise Failed(f"the screenshot decodes to {size}")
