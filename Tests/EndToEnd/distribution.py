"""What the cases of installing and updating share."""

import os
import signal
import tempfile
from pathlib import Path

import machine
from case import Case
from desktop.processes import descendants, wait_for
from desktop.program import Pellaro
from release import Site

APPLICATIONS = Path("/Applications")
INSTALLED = APPLICATIONS / "Pellaro.app"


class Distribution(Case):
    """A case on a machine of its own, with a temporary folder that can be looked into."""

    certificate = {}

    def setUp(self):
        try:
            machine.enter()
        except OSError as error:
            self.skipTest(f"this machine lets nobody have a machine of its own: {error}")
        super().setUp()
        self.addCleanup(self._end_programs)
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory(prefix="pellaro-site-")))
        self.temporary = self.folder / "tmp"
        self.temporary.mkdir()
        self.site = Site(self.folder, **self.certificate)

    def put_small_disk(self, folder, size):
        """Puts an empty disk of so many bytes at the folder, until the end of the case."""
        machine.small_disk(folder, size)
        self.addCleanup(machine.unmount, folder)

    def program(self, bundle):
        """The program of a bundle, not started yet."""
        program = Pellaro(self.desktop, bundle, texts=self.texts, TMPDIR=str(self.temporary))
        self._programs.append(program)
        return program

    def start(self, bundle=INSTALLED):
        """Starts the program of a bundle and waits for its icon."""
        return self.program(bundle).start()

    @staticmethod
    def running(bundle):
        """The process ids of the programs that run from the bundle."""
        program = os.path.realpath(Path(bundle) / "Contents/Linux/Pellaro")
        return [process for process in descendants() if executable(process).removesuffix(" (deleted)") == program]

    def wait_until_running(self, bundle, other_than=()):
        """Waits until a program runs from the bundle that is none of these processes, and returns its id."""
        return wait_for(f"a program running from {bundle}", lambda: set(self.running(bundle)) - set(other_than), 30).pop()

    def _end_programs(self):
        for process, name in descendants().items():
            if name == "Pellaro":
                end(process, signal.SIGTERM)
        wait_for("the programs to end", lambda: "Pellaro" not in descendants().values())

    def work_left(self):
        """The names of what an installation or update has left anywhere."""
        places = [folder for folder in (self.temporary / f"pellaro-{os.getuid()}", APPLICATIONS, INSTALLED) if folder.is_dir()]
        return sorted(str(entry) for folder in places for entry in folder.iterdir()
                      if entry.name.startswith(("PellaroUpdate_", ".ditto-", ".Pellaro.app-")))

    def assert_no_work_left(self):
        self.assertEqual(self.work_left(), [])

    def wait_for_log(self, program, line, seconds=20):
        wait_for(f"the line {line!r} in the log", lambda: line in program.log(), seconds)


def executable(process):
    try:
        return os.readlink(f"/proc/{process}/exe")
    except OSError:
        return ""


def end(process, number):
    try:
        os.kill(process, number)
    except ProcessLookupError:
        pass

