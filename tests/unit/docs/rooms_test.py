"""scripts/check-rooms on small trees that break the rule, and on this one. Usage: rooms_test.py ROOT"""
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(sys.argv.pop(1))

PAGE = """# Architecture
```
ZelvoAgent/
  base/        what every room uses
  wire/        frames
  platform/    what the program needs of a machine
  drivers/     what acts
  app/         windows
  platform/portable/   the same everywhere
  platform/linux/   the machine: system,
                    dbus
ZelvoGateway/  the gateway
  base/        flags
  store/       what must not be lost
  http/        sessions
  api/         paths
  mcp/         tools
  console/     pages
tests/
```
"""


class Tree(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        (self.root / "ARCHITECTURE.md").write_text(PAGE)
        for name in ("ZelvoAgent/base/Task.h", "ZelvoAgent/wire/Json.h", "ZelvoAgent/platform/Platform.h",
                     "ZelvoAgent/drivers/Shell.h", "ZelvoAgent/app/Window.h", "ZelvoAgent/platform/portable/Net.h",
                     "ZelvoAgent/platform/linux/x11/Screen.h", "ZelvoGateway/base/Flags.h",
                     "ZelvoGateway/store/Store.h", "ZelvoGateway/http/Session.h", "ZelvoGateway/api/Api.h", "ZelvoGateway/mcp/Tools.h",
                     "ZelvoGateway/console/Pages.h", "ZelvoGateway/Server.h"):
            self.write(name)

    def write(self, name, *includes):
        file = self.root / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text("".join(f'#include "{include}"\n' for include in includes) + "#include <string>\n")

    def check(self):
        run = subprocess.run([ROOT / "scripts/check-rooms", self.root], capture_output=True, text=True, check=False)
        return run.returncode, run.stderr

    def assert_refused(self, *words):
        status, text = self.check()
        self.assertEqual(status, 1)
        self.assertEqual(text.count("\n"), 1, text)
        for word in words:
            self.assertIn(word, text)

    def test_includes_of_earlier_rooms_pass(self):
        self.write("ZelvoAgent/app/Window.h", "app/Other.h", "drivers/Shell.h", "base/Task.h", "ui_Window.h")
        self.write("ZelvoAgent/platform/linux/x11/Screen.h", "platform/portable/Net.h", "platform/Platform.h")
        self.write("ZelvoGateway/console/Pages.h", "ZelvoGateway/store/Store.h", "base/Task.h", "wire/Json.h")
        self.write("ZelvoGateway/Server.h", "ZelvoGateway/api/Api.h", "ZelvoGateway/console/Pages.h")
        self.assertEqual(self.check(), (0, ""))

    def test_an_include_of_a_later_room_is_refused(self):
        self.write("ZelvoGateway/store/Store.h", "ZelvoGateway/api/Api.h")
        self.assert_refused("ZelvoGateway/store/Store.h", "store may not know api")

    def test_an_include_of_a_later_room_is_refused_in_the_agent(self):
        self.write("ZelvoAgent/wire/Json.h", "drivers/Shell.h")
        self.assert_refused("wire may not know drivers")

    def test_api_and_console_do_not_know_each_other(self):
        self.write("ZelvoGateway/console/Pages.h", "ZelvoGateway/api/Api.h")
        self.assert_refused("console may not know api")

    def test_mcp_does_not_know_api(self):
        self.write("ZelvoGateway/mcp/Tools.h", "ZelvoGateway/api/Api.h")
        self.assert_refused("mcp may not know api")

    def test_console_does_not_know_mcp(self):
        self.write("ZelvoGateway/console/Pages.h", "ZelvoGateway/mcp/Tools.h")
        self.assert_refused("console may not know mcp")

    def test_http_knows_no_service(self):
        self.write("ZelvoGateway/http/Session.h", "ZelvoGateway/base/Flags.h", "ZelvoGateway/store/Store.h")
        self.assert_refused("http may not know store")

    def test_a_room_does_not_know_what_puts_it_together(self):
        self.write("ZelvoGateway/api/Api.h", "ZelvoGateway/Server.h")
        self.assert_refused("api may not know ZelvoGateway")

    def test_the_gateway_knows_two_rooms_of_the_agent(self):
        self.write("ZelvoGateway/api/Api.h", "drivers/Shell.h")
        self.assert_refused("api may not know drivers")

    def test_the_machine_knows_nothing_above_its_interfaces(self):
        self.write("ZelvoAgent/platform/linux/x11/Screen.h", "drivers/Shell.h")
        self.assert_refused("platform/linux may not know drivers")

    def test_nobody_includes_the_machine(self):
        self.write("ZelvoAgent/app/Window.h", "platform/linux/x11/Screen.h")
        self.assert_refused("app may not know platform/linux")

    def test_a_folder_that_is_not_listed_is_refused(self):
        self.write("ZelvoGateway/cellar/Wine.h")
        self.assert_refused("ZelvoGateway/cellar/Wine.h", "is in no room")

    def test_a_room_that_is_gone_is_refused(self):
        (self.root / "ARCHITECTURE.md").write_text(PAGE.replace("  api/ ", "  attic/        nothing\n  api/ "))
        self.assert_refused("ZelvoGateway/attic, which is not there")

    def test_a_page_without_the_list_is_refused(self):
        (self.root / "ARCHITECTURE.md").write_text("# Architecture\n")
        self.assertEqual(self.check()[0], 1)

    def test_this_tree_follows_the_rule(self):
        run = subprocess.run([ROOT / "scripts/check-rooms", ROOT], capture_output=True, text=True, check=False)
        self.assertEqual(run.returncode, 0, run.stderr)


unittest.main()
