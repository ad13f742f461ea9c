"""Where an empty Debian gets its packages: from the archives of this machine, else from Debian's own."""
import os
import pathlib
import re
import subprocess


def host_codename():
    release = pathlib.Path("/etc/os-release").read_text()
    found = re.search(r"^VERSION_CODENAME=(\S+)$", release, re.MULTILINE)
    return found[1] if found and re.search(r"^ID=debian$", release, re.MULTILINE) else None


def apt_sources(suite):
    """This machine's Debian archives for another suite, in apt's multi-line format; other archives are left out."""
    codename = host_codename()
    apt = pathlib.Path("/etc/apt")
    stanzas = []
    for path in sorted(apt.glob("sources.list.d/*.sources")):
        stanzas += re.split(r"\n\s*\n", re.sub(r"^#.*\n", "", path.read_text(), flags=re.MULTILINE))
    for path in [apt / "sources.list", *sorted(apt.glob("sources.list.d/*.list"))]:
        stanzas += [as_stanza(line) for line in path.read_text().splitlines()] if path.exists() else []
    chosen = []
    for stanza in stanzas:
        suites = re.search(r"^Suites:(.*)$", stanza, re.MULTILINE)
        archive = re.search(r"^Types:.*\bdeb\b", stanza, re.MULTILINE)
        if codename and suites and archive and all(re.match(rf"{codename}($|-)", one) for one in suites[1].split()):
            chosen.append(stanza.replace(suites[0], suites[0].replace(codename, suite)))
    return "\n\n".join(text.strip() for text in chosen) + "\n" if chosen else DEBIAN.format(suite=suite)


DEBIAN = """Types: deb
URIs: http://deb.debian.org/debian
Suites: {suite} {suite}-updates
Components: main
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg

Types: deb
URIs: http://deb.debian.org/debian-security
Suites: {suite}-security
Components: main
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg
"""


def as_stanza(line):
    """Converts a line of sources.list to the multi-line format."""
    found = re.match(r"deb\s+(?:\[([^\]]*)\]\s+)?(\S+)\s+(\S+)\s+(.*)", line)
    if not found:
        return ""
    options = dict(one.split("=", 1) for one in (found[1] or "").split())
    signed = f"Signed-By: {options['signed-by']}\n" if "signed-by" in options else ""
    return f"Types: deb\nURIs: {found[2]}\nSuites: {found[3]}\nComponents: {found[4]}\n{signed}"


def apt_settings():
    """This machine's settings for reaching archives: proxies, certificates, time-outs. No pins and no hooks."""
    dump = subprocess.run(["apt-config", "dump"], capture_output=True, text=True, check=True).stdout
    lines = [line for line in dump.splitlines() if re.match(r"Acquire::(?!IndexTargets)[^ ]+ \"[^\"]", line)]
    for scheme in ("http", "https"):
        if os.environ.get(f"{scheme}_proxy"):
            lines.append(f'Acquire::{scheme}::Proxy "{os.environ[f"{scheme}_proxy"]}";')
    return "\n".join(lines) + "\n"


def host_files(sources, settings):
    """The keys, certificates and credentials that the sources and settings refer to."""
    named = re.findall(r"^Signed-By:\s*(/\S+)", sources, re.MULTILINE)
    named += re.findall(r"::(?:Ca[A-Za-z]+|Ssl[A-Za-z]+) \"(/[^\"]+)", settings)
    if "https:" in sources:
        named.append("/etc/ssl/certs/ca-certificates.crt")
    named += ["/etc/apt/auth.conf", *map(str, pathlib.Path("/etc/apt/auth.conf.d").glob("*"))]
    return [path for path in map(pathlib.Path, dict.fromkeys(named)) if path.is_file()]
