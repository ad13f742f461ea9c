"""What README.md promises: its apt line, `make run` and every command that it prints, Ctrl-C, and `make test`."""
import json
import os
import re
import shlex
import signal
import subprocess
import time

from .reporting import MINUTE, ROOT, Failed
from .root import PERSON, Root

TYPED = "Typed by an agent."
READY = "Ctrl-C ends all of it."


class ReadmeTrial(Root):
    """A person who follows README.md."""

    def steps(self, with_tests):
        self.build()
        self.note("an empty root, a person in it")
        self.must(readme_line(), 10 * MINUTE, folder=f"/home/{PERSON}")
        self.note("README's apt line")
        self.clone()
        ready = self.try_run()
        tests = ""
        if with_tests:
            self.must("make test </dev/null", 90 * MINUTE)
            self.assert_nothing_left("make test")
            closing = re.findall(r"^\d+% tests passed.*", self.said(), re.MULTILINE)
            if not closing:
                raise Failed("`make test` ended well but ctest's closing line is missing")
            tests = f"; make test: {closing[-1]}"
        return f"make run was ready after {ready} s; picture, typing, tree and Ctrl-C are right, no process is left{tests}"

    # What `make run` promises

    def try_run(self):
        begin = time.monotonic()
        run = self.start(["make", "run"])
        while READY not in self.said():
            if run.poll() is not None:
                raise Failed(f"`make run` ended with {run.returncode} before it was ready")
            if time.monotonic() - begin > 45 * MINUTE:
                raise Failed("`make run` was not ready after 45 minutes")
            time.sleep(1)
        ready = round(time.monotonic() - begin)
        self.note(f"make run says what to type, {ready} s after it was typed")
        printed = self.said()
        self.open_console(line_after(printed, "See it and use it in a browser"))
        self.take_screenshot(line_after(printed, "Take a screenshot"))
        self.type_and_read(line_after(printed, "Type into the editor"), line_after(printed, "List what is in the window"))
        unknown = [line for line in printed.splitlines() if line.startswith("  curl")]
        if len(unknown) != 3:
            raise Failed(f"`make run` prints {len(unknown)} curl lines, of which 3 are known here")
        self.end_by_interrupt(run)
        self.note("every printed line works, and Ctrl-C ends all of it")
        return ready

    def open_console(self, link):
        """Opens the page behind the link, and does what its script does."""
        address, code = link.strip().split("/open#")
        status = self.answer(f"curl -sS -o console.html -w '%{{http_code}}' {shlex.quote(link.strip())}")
        if status != "200" or "<html" not in self.answer("cat console.html").lower():
            raise Failed(f"the console's link answers {status}")
        begun = self.answer(f"curl -sS -H {shlex.quote('Origin: ' + address)} -d {shlex.quote(json.dumps({'code': code}))} "
                            f"{address}/console/session")
        secret = json.loads(begun).get("session", "")
        machines = self.answer(f"curl -sS -H {shlex.quote('X-Zelvo-Console: ' + secret)} {address}/console/machines")
        if len(json.loads(machines).get("machines", [])) != 1:
            raise Failed(f"the console lists {machines}")

    def take_screenshot(self, line):
        self.answer(line)
        size = json.loads(self.answer(f"python3 -c {shlex.quote(DECODE)} screen.jpg"))
        if size != {"width": 1440, "height": 900, "plain": False}:
            raise Failed(f"the screenshot decodes to {size}")

    def type_and_read(self, typing, listing):
        done = json.loads(self.answer(typing))
        if done.get("result", {}).get("ok") is not True:
            raise Failed(f"typing answers {done}")
        due = time.monotonic() + MINUTE  # The editor may still be starting, or drawing what was typed.
        while True:
            tree = self.answer(listing)
            if TYPED in tree and re.search(r'menuitem "File"', tree):
                return
            if time.monotonic() > due:
                raise Failed(f"the tree shows neither the editor's menu nor what was typed:\n{tree}")
            time.sleep(1)

    def end_by_interrupt(self, run):
        os.killpg(run.pid, signal.SIGINT)  # Like a terminal, which sends it to the whole foreground group.
        try:
            status = run.wait(30)
        except subprocess.TimeoutExpired as late:
            raise Failed("`make run` did not end within 30 s of Ctrl-C") from late
        ended = self.said().rpartition(READY)[2]
        # make reports its own signal, whatever its command did.
        if status not in (0, 2, 130, -signal.SIGINT) or "Ending." not in ended or "Traceback" in ended or "run: " in ended:
            raise Failed(f"Ctrl-C ended `make run` with {status}: {ended}")
        self.assert_nothing_left("make run")


# Decodes a picture with the library that the agent encodes with.
DECODE = """
import ctypes, json, sys
jpeg = ctypes.CDLL("libturbojpeg.so.0")
jpeg.tjInitDecompress.restype = ctypes.c_void_p
handle = ctypes.c_void_p(jpeg.tjInitDecompress())
data = open(sys.argv[1], "rb").read()
width, height, sampling, colours = (ctypes.c_int() for number in range(4))
length = ctypes.c_ulong(len(data))
assert jpeg.tjDecompressHeader3(handle, data, length, ctypes.byref(width), ctypes.byref(height), ctypes.byref(sampling),
                                ctypes.byref(colours)) == 0, "no header"
pixels = ctypes.create_string_buffer(width.value * height.value * 3)
assert jpeg.tjDecompress2(handle, data, length, pixels, width, 0, height, 0, 0) == 0, "broken picture"
print(json.dumps({"width": width.value, "height": height.value, "plain": len(set(pixels.raw)) < 16}))
"""


def readme_line():
    """The apt line at the start of README."""
    lines = re.findall(r"^ {4}(sudo apt-get .*)$", (ROOT / "README.md").read_text(), re.MULTILINE)
    if len(lines) != 1:
        raise Failed(f"README.md has {len(lines)} apt lines where one is expected")
    return lines[0]


def line_after(text, heading):
    """The line below a heading that `make run` prints."""
    found = re.search(rf"^{re.escape(heading)}.*\n  (.*)$", text, re.MULTILINE)
    if not found:
        raise Failed(f"`make run` prints nothing below \"{heading}\"")
    return found[1]
