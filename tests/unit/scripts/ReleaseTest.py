"""Feeds of updates and releases: what is signed verifies, and what may not be released is refused. Usage: ReleaseTest.py REPOSITORY"""
import base64
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
ROOT = pathlib.Path(sys.argv.pop(1))
sys.path.insert(0, str(ROOT / "scripts"))
from signing.keys import PUBLIC_PREFIX, verifies  # noqa: E402

SOFTHSM = next((path for path in map(pathlib.Path, ("/usr/lib/softhsm/libsofthsm2.so",)) if path.exists()), None)


def run(command, **options):
    return subprocess.run(list(map(str, command)), capture_output=True, text=True, timeout=30, check=False,
                          stdin=subprocess.DEVNULL, **options)


class Folder(unittest.TestCase):
    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.folder = pathlib.Path(holder.name)

    def make_key(self, algorithm="ed25519"):
        path = self.folder / f"{algorithm}.pem"
        path.touch(0o600)
        subprocess.run(["openssl", "genpkey", "-algorithm", algorithm, "-out", path], check=True, capture_output=True)
        return path

    def public_of(self, key):
        encoded = subprocess.run(["openssl", "pkey", "-in", key, "-pubout", "-outform", "DER"], check=True, capture_output=True)
        return encoded.stdout.removeprefix(PUBLIC_PREFIX)


class MakeFeed(Folder):
    def setUp(self):
        super().setUp()
        self.archive = self.folder / "zelvo-agent-1.2.3-linux-x86_64.tar.xz"
        self.archive.write_bytes(bytes(range(256)) * 100)
        self.notes = self.folder / "notes"
        self.notes.write_text("What is new.\n")
        self.out = self.folder / "zelvo-agent.json"

    def make(self, key, *more, version="1.2.3", base="https://files.example/zelvo/", environment=None):
        return run([ROOT / "scripts/make-feed", "--version", version, "--base", base, "--key", key,
                    "--out", self.out, "--notes", self.notes, *more, self.archive], env=environment)

    def assert_signed_by(self, public):
        whole = json.loads(self.out.read_text())
        text = self.folder / "text"
        text.write_text(whole["feed"])
        self.assertTrue(verifies(public, text, base64.b64decode(whole["signature"])))
        feed = json.loads(whole["feed"])
        self.assertTrue(verifies(public, self.archive, base64.b64decode(feed["archives"][0]["signature"])))
        text.write_text(whole["feed"].replace("1.2.3", "1.2.4"))
        self.assertFalse(verifies(public, text, base64.b64decode(whole["signature"])))
        return feed

    def test_refuses_what_the_agent_refuses(self):
        key = self.make_key()
        self.assertIn("https", self.make(key, base="http://files.example/zelvo").stderr)
        for version in ("2.0-beta", "1.2.3.4.5", "../1", ""):
            self.assertNotEqual(self.make(key, version=version).returncode, 0, version)
        self.assertFalse(self.out.exists())

    def test_has_the_form_that_the_agent_reads(self):
        key = self.make_key()
        russian = self.folder / "russian"
        russian.write_text("Что нового.")
        done = self.make(key, "--notes-ru", russian)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        feed = self.assert_signed_by(self.public_of(key))
        del feed["archives"][0]["signature"]
        self.assertEqual(feed, {
            "format": 1, "program": "dev.zelvo.agent", "version": "1.2.3",
            "notes": {"en": "What is new.", "ru": "Что нового."},
            "archives": [{"system": "linux", "architecture": "x86_64", "length": 25600,
                          "address": "https://files.example/zelvo/zelvo-agent-1.2.3-linux-x86_64.tar.xz"}]})

    def test_prints_the_public_key_that_a_build_is_given(self):
        key = self.make_key()
        done = run([ROOT / "scripts/make-feed", "--key", key, "--print-public-key"])
        self.assertEqual(base64.b64decode(done.stdout), self.public_of(key))

    def test_refuses_keys_that_are_not_safe_or_of_another_kind(self):
        open_to_others = self.make_key()
        open_to_others.chmod(0o640)
        self.assertIn("others may use the key file", self.make(open_to_others).stderr)
        self.assertIn("holds no Ed25519 key", self.make(self.make_key("ed448")).stderr)
        self.assertIn("there is no key file", self.make(self.folder / "absent").stderr)
        self.assertFalse(self.out.exists())

    def test_refuses_a_key_inside_the_repository(self):
        (ROOT / "build").mkdir(exist_ok=True)
        with tempfile.NamedTemporaryFile(dir=ROOT / "build", suffix=".pem") as inside:
            shutil.copyfile(self.make_key(), inside.name)
            done = self.make(inside.name)
        self.assertEqual(done.returncode, 1)
        self.assertIn("inside the repository", done.stderr)
        link = self.folder / "link"
        link.symlink_to(ROOT / "README.md")
        self.assertIn("inside the repository", self.make(link).stderr)

    def test_refuses_an_archive_of_another_version(self):
        done = self.make(self.make_key(), version="1.2.4")
        self.assertEqual(done.returncode, 1)
        self.assertIn("is not named zelvo-agent-1.2.4-", done.stderr)
        self.assertFalse(self.out.exists())

    def test_refuses_a_pin_in_the_list_of_processes(self):
        done = self.make("pkcs11:object=release?pin-value=1234")
        self.assertEqual(done.returncode, 1)
        self.assertNotIn("1234", done.stderr)

    @unittest.skipUnless(SOFTHSM and shutil.which("softhsm2-util"), "this system has no SoftHSM")
    def test_a_token_signs_like_a_file(self):
        key = self.make_key()
        (self.folder / "tokens").mkdir()
        (self.folder / "softhsm2.conf").write_text(f"directories.tokendir = {self.folder}/tokens\n")
        environment = dict(os.environ, SOFTHSM2_CONF=str(self.folder / "softhsm2.conf"))
        for command in (["--init-token", "--free", "--label", "releases", "--so-pin", "5678"],
                        ["--import", key, "--token", "releases", "--label", "agent key", "--id", "01"]):
            done = run(["softhsm2-util", *command, "--pin", "1234"], env=environment)
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        (self.folder / "pin").write_text("1234\n")
        uri = f"pkcs11:token=releases;object=agent%20key?module-path={SOFTHSM}&pin-source={self.folder}/pin"
        done = self.make(uri, environment=environment)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assert_signed_by(self.public_of(key))
        done = self.make(uri.replace("agent%20key", "other"), environment=environment)
        self.assertIn("the token has 0 private keys of that name", done.stderr)


class Notes(Folder):
    """A copy of the script with its own changes."""

    def notes(self, changes):
        for name in ("make-feed", "signing"):
            source = ROOT / "scripts" / name
            (shutil.copytree if source.is_dir() else shutil.copy2)(source, self.folder / "copy/scripts" / name)
        (self.folder / "copy/CHANGELOG.md").write_text(changes)
        archive = self.folder / "zelvo-agent-1.2.3-linux-x86_64.tar.xz"
        archive.write_text("archive")
        done = run([self.folder / "copy/scripts/make-feed", "--version", "1.2.3", "--base", "https://files.example", "--key",
                    self.make_key(), "--out", self.folder / "out", archive])
        return done, self.folder / "out"

    def setUp(self):
        super().setUp()
        (self.folder / "copy/scripts").mkdir(parents=True)

    def test_are_the_section_of_the_version_as_plain_text(self):
        done, out = self.notes("# Changes\n\n## Unreleased\n\n- Later.\n\n## 1.2.3 (2026-11-23)\n\n### Added\n\n- One `thing`, see\n"
                               "  [docs](docs/a.md).\n- Another.\n\n## 1.2.2\n\n- Before.\n")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(json.loads(json.loads(out.read_text())["feed"])["notes"],
                         {"en": "Added:\n\n- One thing, see docs.\n- Another."})

    def test_are_needed(self):
        done, out = self.notes("# Changes\n\n## Unreleased\n\n- Later.\n")
        self.assertEqual(done.returncode, 1)
        self.assertIn("has no section \"## 1.2.3\"", done.stderr)
        self.assertFalse(out.exists())


class Release(Folder):
    """In a small repository with the script and nothing that builds."""

    def setUp(self):
        super().setUp()
        self.place = self.folder / "repository"
        (self.place / "scripts").mkdir(parents=True)
        shutil.copy2(ROOT / "scripts/release", self.place / "scripts")
        shutil.copy2(ROOT / "scripts/make-feed", self.place / "scripts")
        shutil.copytree(ROOT / "scripts/signing", self.place / "scripts/signing", ignore=shutil.ignore_patterns("__pycache__"))
        for name, made in (("make-archive", "archive/zelvo-agent-1.2.3-linux-x86_64.tar.xz"), ("make-package", "package/a.deb")):
            script = self.place / "scripts" / name
            script.write_text(f"#!/bin/sh\nmkdir -p build/{os.path.dirname(made)}\necho \"$FEED_URL $UPDATE_KEY\" >build/{made}\n")
            script.chmod(0o755)
        (self.place / "CMakeLists.txt").write_text("project(Zelvo VERSION 1.2.3 LANGUAGES CXX)\n")
        (self.place / "CHANGELOG.md").write_text("# Changes\n\n## 1.2.3\n\n- New.\n")
        (self.place / ".gitignore").write_text("/build/\n*.pyc\n__pycache__/\n")
        self.git("init", "-q")
        self.git("add", "-A")
        self.git("commit", "-qm", "first")

    def git(self, *arguments):
        subprocess.run(["git", "-C", self.place, "-c", "user.name=A", "-c", "user.email=a@example", *arguments], check=True,
                       capture_output=True)

    def release(self, tag="v1.2.3"):
        return run([self.place / "scripts/release", tag, "--key", self.make_key(), "--base", "https://files.example/zelvo"])

    def assert_refused(self, reason, tag="v1.2.3"):
        done = self.release(tag)
        self.assertEqual(done.returncode, 1)
        self.assertIn(reason, done.stderr)
        self.assertFalse((self.place / "build").exists())

    def test_refuses_a_tag_that_is_absent_wrong_or_elsewhere(self):
        self.assert_refused("there is no tag v1.2.3")
        self.git("tag", "v1.2.3")
        self.git("tag", "v1.2.4")
        self.assert_refused("the tag of version 1.2.3 is v1.2.3, not v1.2.4", "v1.2.4")
        self.git("commit", "-qm", "second", "--allow-empty")
        self.assert_refused("the tag v1.2.3 is another commit than HEAD")

    def test_refuses_a_tree_with_changes(self):
        self.git("tag", "v1.2.3")
        (self.place / "new").touch()
        self.assert_refused("there are changes that are not committed")

    def test_has_everything_with_sums_that_verify(self):
        self.git("tag", "v1.2.3")
        done = self.release()
        self.assertEqual(done.returncode, 0, done.stderr)
        made = self.place / "build/release-v1.2.3"
        self.assertEqual(sorted(path.name for path in made.iterdir()),
                         ["SHA256SUMS", "SHA256SUMS.signature", "a.deb", "zelvo-agent-1.2.3-linux-x86_64.tar.xz", "zelvo-agent.json"])
        public = self.public_of(self.folder / "ed25519.pem")
        signature = base64.b64decode((made / "SHA256SUMS.signature").read_text())
        self.assertTrue(verifies(public, made / "SHA256SUMS", signature))
        self.assertEqual(run(["sha256sum", "-c", "--quiet", "SHA256SUMS"], cwd=made).returncode, 0)
        self.assertEqual((made / "zelvo-agent-1.2.3-linux-x86_64.tar.xz").read_text(),
                         f"https://files.example/zelvo/zelvo-agent.json {base64.b64encode(public).decode()}\n")

    def test_leaves_nothing_half_done(self):
        self.git("tag", "v1.2.3")
        (self.place / "scripts/make-package").write_text("#!/bin/sh\nexit 3\n")
        self.git("commit", "-qam", "second")
        self.git("tag", "-f", "v1.2.3")
        done = self.release()
        self.assertIn("make-package ended with 3", done.stderr)
        self.assertEqual([path.name for path in (self.place / "build").glob("release*")], [])


class Information(unittest.TestCase):
    KEY = base64.b64encode(bytes(32)).decode()

    def make(self, *arguments):
        return run([ROOT / "scripts/make-information", *arguments])

    def test_has_a_feed_and_a_key_only_if_they_are_given(self):
        plain = json.loads(self.make("GATEWAY_URL=", "CONSOLE_URL=", "FEED_URL=", "UPDATE_KEY=").stdout)
        self.assertEqual(plain, json.loads((ROOT / "packaging/Info.json").read_text()))
        given = json.loads(self.make("GATEWAY_URL=wss://g.example", "CONSOLE_URL=https://c.example",
                                     "FEED_URL=https://f.example/zelvo-agent.json", f"UPDATE_KEY={self.KEY}").stdout)
        self.assertEqual(given, {**plain, "ZelvoGatewayURL": "wss://g.example", "ZelvoConsoleURL": "https://c.example",
                                 "SUFeedURL": "https://f.example/zelvo-agent.json", "SUPublicEDKey": self.KEY})

    def test_refuses_what_the_agent_could_not_use(self):
        for arguments in (["GATEWAY_URL=https://g.example"], ["CONSOLE_URL=c.example"], ["FEED_URL=https://f.example"],
                          [f"UPDATE_KEY={self.KEY}"], ["FEED_URL=https://f.example", "UPDATE_KEY=AAAA"],
                          ["FEED_URL=https://f.example", "UPDATE_KEY=?"], ["OTHER=1"], ["GATEWAY_URL"]):
            done = self.make(*arguments)
            self.assertEqual((done.returncode, done.stdout), (2, ""), arguments)
            self.assertTrue(done.stderr.startswith("make-information: "), done.stderr)


unittest.main()
