#!/usr/bin/env python3
"""Lints the OpenAPI document of the built gateway.
Usage: lint.py GATEWAY FOLDER    FOLDER keeps the linter between runs. Ends with 77 where Node is missing, or the
registry of npm cannot be reached."""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import urllib.request

HERE = pathlib.Path(__file__).resolve().parent
SKIPPED = 77


def install(folder):
    """The linter by its lock file, unless this very one is there. Returns the exit code of the installation."""
    folder.mkdir(parents=True, exist_ok=True)
    for name in ("package.json", "package-lock.json"):
        shutil.copy(HERE / name, folder / name)
    return subprocess.run([HERE.parents[1] / "scripts/install-node-packages", folder], check=False).returncode


def document(gateway):
    """What the built gateway serves."""
    with tempfile.TemporaryDirectory() as data:
        port_file = pathlib.Path(data) / "port"
        process = subprocess.Popen([gateway, "--data", f"{data}/gateway", "--port", "0", "--port-file", port_file])
        try:
            due = time.monotonic() + 20
            while not port_file.exists():
                if process.poll() is not None or time.monotonic() > due:
                    raise RuntimeError("the gateway does not start")
                time.sleep(0.05)
            url = f"http://127.0.0.1:{port_file.read_text().strip()}/v1/openapi.json"
            with urllib.request.urlopen(url, timeout=20) as answer:
                return answer.read()
        finally:
            process.terminate()
            process.wait(20)


def main():
    gateway, folder = sys.argv[1], pathlib.Path(sys.argv[2])
    if not shutil.which("node") or not shutil.which("npm"):
        print("skipped: Node is missing")
        return SKIPPED
    if status := install(folder):
        return status
    file = folder / "openapi.json"
    file.write_bytes(document(gateway))
    quiet = {"REDOCLY_TELEMETRY": "off", "REDOCLY_SUPPRESS_UPDATE_NOTICE": "true"}
    linter = [folder / "node_modules/.bin/redocly", "lint", "--config", HERE / "redocly.yaml", file]
    return subprocess.run(linter, check=False, env={**os.environ, **quiet}).returncode


if __name__ == "__main__":
    sys.exit(main())
