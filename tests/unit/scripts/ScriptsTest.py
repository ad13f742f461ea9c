"""The scripts of the repository say why they end. Usage: ScriptsTest.py REPOSITORY"""
import os
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile
import threading
import unittest
import unittest.mock

ROOT = pathlib.Path(sys.argv.pop(1))
sys.dont_write_bytecode = True
sys.path.append(str(ROOT / "scripts"))
import own_session  # noqa: E402
LISTED = [path for folder in ("scripts", ".ci") for path in sorted((ROOT / folder).iterdir()) if path.is_file()]
BASH = [path for path in LISTED if path.read_text().startswith("#!/usr/bin/env bash")]


def run(command, **options):
    return subprocess.run(command, capture_output=True, text=True, timeout=30, check=False, **options)


class Folder(unittest.TestCase):
    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.folder = pathlib.Path(holder.name)

    def program(self, name, text):
        path = self.folder / name
        path.write_text(text)
        path.chmod(0o755)
        return path


class FailingCommands(Folder):
    def end_of(self, lines):
        script = self.program("sample", f"#!/usr/bin/env bash\nsource {ROOT}/scripts/errors.sh\n{lines}\n")
        return run([script])

    def test_the_message_names_script_line_and_command(self):
        ended = self.end_of("true\nls /nowhere/at/all")
        self.assertEqual(ended.returncode, 2)
        self.assertIn("sample: line 4: status 2 from: ls /nowhere/at/all", ended.stderr)

    def test_a_function_a_pipeline_and_a_substitution_report_too(self):
        for lines in ("work() { false; }\nwork", "false | cat", "text=$(false; echo more)\necho \"$text\""):
            ended = self.end_of(lines)
            self.assertEqual(ended.returncode, 1, lines)
            self.assertRegex(ended.stderr, "sample: line [34]: status 1 from: ")
            self.assertEqual(ended.stdout, "")

    def test_what_is_asked_and_not_so_is_no_failure(self):
        ended = self.end_of("if false; then :; fi\nfalse || true\n[[ -n '' ]] && echo never\necho done")
        self.assertEqual((ended.returncode, ended.stdout, ended.stderr), (0, "done\n", ""))

    def test_every_bash_script_reports(self):
        self.assertGreater(len(BASH), 4)
        for script in BASH:
            first = next(line for line in script.read_text().splitlines() if line and not line.startswith("#"))
            self.assertIn("errors.sh", first, script)


class InstallDependencies(Folder):
    """On a machine whose dpkg knows none of our packages and that lets nobody be root."""

    def start(self, *groups):
        self.program("dpkg-query", "#!/bin/sh\nexit 1\n")
        self.program("apt-get", "#!/bin/sh\nexit 1\n")
        self.program("apt-cache", "#!/bin/sh\nexit 0\n")
        self.program("sudo", "#!/bin/sh\nexit 1\n")
        self.program("id", "#!/bin/sh\necho 1000\n")
        environment = dict(os.environ, PATH=f"{self.folder}:{os.environ['PATH']}")
        return run([ROOT / "scripts/install-dependencies", *groups], env=environment, stdin=subprocess.DEVNULL)

    def test_prints_the_line_that_root_has_to_run(self):
        ended = self.start("build", "run", "test")
        self.assertEqual(ended.returncode, 1)
        self.assertIn("needs root", ended.stderr)
        self.assertIn("apt-get install -y --no-remove", ended.stdout)
        for package in ("clang-19", "libboost1.81-dev", "xvfb", "zenity"):
            self.assertIn(f" {package} ", ended.stdout + " ")

    def test_refuses_an_unknown_group(self):
        ended = self.start("everything")
        self.assertEqual(ended.returncode, 2)
        self.assertIn("unknown group 'everything'", ended.stderr)


class RunTests(Folder):
    CTEST = """#!/usr/bin/env bash
case " $* " in
*" -N -L ^chromium$ "*) printf '  Test  #7: web.reads\\n  Test #12: web.types\\n\\nTotal Tests: 2\\n' ;;
*" -N "*) printf 'Total Tests: 0\\n' ;;
*) echo "called: $*"; printf '100%% tests passed, 0 tests failed out of 5\\n\\nTotal Test time (real) = 1 sec\\n'; exit "${RESULT:-0}" ;;
esac
"""

    def start(self, **more):
        self.program("ctest", self.CTEST)
        for tool in ("bash", "env", "dirname", "awk", "sed", "grep", "wc", "readlink"):
            os.symlink(shutil.which(tool), self.folder / tool)
        return run([ROOT / "scripts/run-tests", "build"], env=dict(os.environ, PATH=str(self.folder), **more))

    def test_names_the_tests_of_an_application_that_is_missing(self):
        ended = self.start()
        self.assertEqual(ended.returncode, 0, ended.stderr)
        self.assertIn("-LE ^(chromium|featherpad|node|office|thunar|writer)$", ended.stdout)
        self.assertIn("2 tests skipped, since this system has no Chromium that a test can drive:\n  web.reads\n  web.types\n100% tests",
                      ended.stdout)
        self.assertNotIn("Writer", ended.stdout)
        self.assertTrue(ended.stdout.endswith("Total Test time (real) = 1 sec\n"))

    def test_ends_with_the_status_of_ctest_and_leaves_it_the_last_word(self):
        ended = self.start(RESULT="8")
        self.assertEqual((ended.returncode, ended.stderr), (8, ""))


class NodePackages(Folder):
    """With an npm that ends as the test wants."""

    def setUp(self):
        super().setUp()
        self.packages = self.folder / "packages"
        self.packages.mkdir()
        (self.packages / "package-lock.json").write_text("{}")

    def install(self, npm):
        self.program("npm", f"#!/bin/sh\n{npm}\n")
        environment = dict(os.environ, PATH=f"{self.folder}:{os.environ['PATH']}")
        return run([ROOT / "scripts/install-node-packages", self.packages], env=environment)

    def use(self):
        return run([ROOT / "scripts/with-node-packages", self.packages, "echo", "used"])

    def test_a_registry_that_cannot_be_reached_is_a_skip_with_its_reason(self):
        for code in ("ENOTFOUND", "ECONNREFUSED", "ETIMEDOUT", "EAI_AGAIN"):
            ended = self.install(f"echo 'npm error code {code}' >&2; exit 1")
            self.assertEqual(ended.returncode, 77, ended.stdout)
            self.assertIn(f"skipped: the registry of npm cannot be reached ({code})\n", ended.stdout)
            used = self.use()
            self.assertEqual((used.returncode, used.stdout),
                             (77, f"skipped: the registry of npm cannot be reached ({code})\n"))

    def test_any_other_failure_is_one(self):
        for text in ("npm error code EINTEGRITY", "npm error code E404", "npm error code EUSAGE",
                     "npm error network ENOTFOUND is no code", ""):
            self.assertEqual(self.install(f"echo '{text}' >&2; exit 1").returncode, 1, text)
            self.assertEqual(self.use().stdout, "used\n")

    def test_what_is_installed_needs_no_registry(self):
        self.assertEqual(self.install("mkdir -p node_modules").returncode, 0)
        self.assertEqual(self.install("echo 'npm error code ENOTFOUND' >&2; exit 1").returncode, 0)
        self.assertEqual(self.use().stdout, "used\n")

    def test_tests_run_again_once_the_registry_is_there(self):
        self.assertEqual(self.install("echo 'npm error code ENOTFOUND' >&2; exit 1").returncode, 77)
        self.assertEqual(self.install("mkdir -p node_modules").returncode, 0)
        self.assertEqual(self.use().stdout, "used\n")


class TryFresh(Folder):
    def start(self, *arguments):
        """On a machine that permits neither root nor mounts, whoever runs the tests."""
        self.program("unshare", "#!/bin/sh\nexit 1\n")
        self.program("sudo", "#!/bin/sh\nexit 1\n")
        environment = dict(os.environ, PATH=f"{self.folder}:{os.environ['PATH']}", TMPDIR=str(self.folder))
        return run([ROOT / "scripts/try-fresh", *arguments], env=environment, stdin=subprocess.DEVNULL)

    def test_says_in_one_line_that_the_machine_does_not_permit_it(self):
        ended = self.start("trixie")
        self.assertEqual((ended.returncode, ended.stderr), (0, ""))
        self.assertRegex(ended.stdout, r"^Fresh trixie: left out, (this machine permits no private mounts|it needs root)\n$")
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["sudo", "unshare"])

    def test_refuses_an_unknown_suite(self):
        self.assertEqual(self.start("potato").returncode, 2)


class Run(Folder):
    def test_says_which_line_could_not_go_on(self):
        build = self.folder / "build"
        build.mkdir()
        for name in ("zelvo-agent", "zelvo-gateway"):
            self.program(f"build/{name}", "#!/bin/sh\nexit 1\n")
        kept = self.folder / "kept"
        kept.write_text("a file where a folder has to be")
        ended = run([ROOT / "scripts/run", build, kept])
        self.assertEqual(ended.returncode, 1)
        self.assertRegex(ended.stdout, r"run: line \d+: .*(Error|error).*kept")
        self.assertNotIn("Traceback", ended.stderr)

    def test_says_that_nothing_was_built(self):
        ended = run([ROOT / "scripts/run", self.folder])
        self.assertEqual(ended.returncode, 1)
        self.assertIn("zelvo-agent is missing", ended.stdout)


class OwnSession(Folder):
    """With programs in place of those that reach the session of whoever runs the tests."""

    def setUp(self):
        super().setUp()
        self.data = self.folder / "data"
        self.calls = self.folder / "calls"
        self.agent = self.folder / "build/run/bin/zelvo-agent"
        for name in ("dbus-send", "gsettings"):
            self.program(name, f"#!/bin/sh\necho {name} \"$@\" >> {self.calls}\necho \"['one@x', 'zelvo@zelvo.dev']\"\n")
        variables = {"PATH": f"{self.folder}:{os.environ['PATH']}", "XDG_DATA_HOME": str(self.data),
                     "XDG_RUNTIME_DIR": str(self.folder), "WAYLAND_DISPLAY": "wayland-7"}
        patched = unittest.mock.patch.dict(os.environ, variables)
        patched.start()
        self.addCleanup(patched.stop)

    def write(self, name, text):
        path = self.data / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
        return path

    def put_traces(self):
        """What the buttons of a trial's welcome window leave."""
        self.extension = self.write("gnome-shell/extensions/zelvo@zelvo.dev/program", f"{self.agent}\n").parent
        self.entry = self.write("applications/dev.zelvo.agent.kwin-2.desktop", f"[Desktop Entry]\nExec={self.agent}\nNoDisplay=true\n")

    def test_ctrl_c_removes_what_names_the_trial(self):
        traces = own_session.Traces(self.agent)
        self.put_traces()
        self.assertEqual(traces.remove(is_session_ending=False), [str(self.entry), str(self.extension)])
        self.assertEqual(list(self.data.iterdir()), [])
        self.assertIn("gsettings set org.gnome.shell enabled-extensions ['one@x']\n", self.calls.read_text())
        self.assertIn("DisableExtension string:zelvo@zelvo.dev\n", self.calls.read_text())

    def test_the_end_of_the_session_leaves_the_extension_for_the_next(self):
        traces = own_session.Traces(self.agent)
        self.put_traces()
        self.assertEqual(traces.remove(is_session_ending=True), [str(self.entry)])
        self.assertTrue(own_session.Traces(self.agent).has_extension())
        self.assertFalse(self.calls.exists())

    def test_what_names_another_program_stays(self):
        self.put_traces()
        traces = own_session.Traces(self.folder / "usr/bin/zelvo-agent")
        self.assertEqual(traces.other_program(), str(self.agent))
        self.assertEqual(traces.remove(is_session_ending=False), [])
        self.assertTrue(self.entry.exists() and (self.extension / "program").exists())
        self.assertFalse(self.calls.exists())

    def test_folders_of_the_person_stay(self):
        (self.data / "applications").mkdir(parents=True)
        traces = own_session.Traces(self.agent)
        self.put_traces()
        traces.remove(is_session_ending=False)
        self.assertEqual([path.name for path in self.data.iterdir()], ["applications"])

    def test_an_installed_zelvos_lock_is_not_linked(self):
        (self.folder / "dev.zelvo.agent.lock").touch()
        (self.folder / "pulse").mkdir()
        with tempfile.TemporaryDirectory() as runtime:
            made = own_session.environment(pathlib.Path(runtime))
            self.assertTrue((pathlib.Path(runtime) / "pulse").is_symlink())
            self.assertFalse((pathlib.Path(runtime) / "dev.zelvo.agent.lock").exists())
        self.assertEqual(made["WAYLAND_DISPLAY"], str(self.folder / "wayland-7"))
        self.assertEqual(made["ZELVO_SESSION_DATA_HOME"], str(self.data))

    def test_only_a_compositor_that_answers_counts(self):
        path = own_session.compositor()
        self.assertFalse(own_session.answers(path))
        with socket.socket(socket.AF_UNIX) as listening:
            listening.bind(str(path))
            listening.listen()
            for answer in (b"\0" * 12, b""):
                def serve(reply=answer):
                    connection = listening.accept()[0]
                    with connection:
                        self.asked = connection.recv(100)
                        connection.sendall(reply)
                server = threading.Thread(target=serve)
                server.start()
                self.assertEqual(own_session.answers(path), bool(answer))
                server.join()
                self.assertEqual(len(self.asked), 12)


unittest.main()
