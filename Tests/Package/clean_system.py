"""A clean system beside the desktop that shows its programs: what runs in it finds nothing but what was installed there."""

import json
import os
import plistlib
import shutil
import subprocess
import zipfile
from pathlib import Path

import machine
from desktop.processes import Failed
from desktop.program import Pellaro
from distribution import Distribution

PACKAGES = Path(os.environ["PELLARO_PACKAGES"])
ARCHIVE, FEED = PACKAGES / "Pellaro.zip", PACKAGES / "version.json"
[PACKAGE] = PACKAGES.glob("pellaro_*.deb")
SHIPPED = json.loads(FEED.read_text(encoding="utf-8"))

# What belongs to the machine, and where package managers note what they have done.
_ELSEWHERE = ("dev", "proc", "sys", "tmp", "run", "var/log", "var/cache", "var/lib/apt", "var/lib/dpkg/status-old", "var/lib/dpkg/triggers")


class Installed(Pellaro):
    """The command in the clean system; with `bundle` the program of that one, a path in there."""

    def __init__(self, desktop, root, bundle=None, **options):
        super().__init__(desktop, bundle or "/", wrapper=("chroot", str(root)), **options)
        if not bundle:
            self._arguments[-1] = "pellaro"


class CleanSystem(Distribution):
    """A case in the clean system, which is left without the package."""

    def setUp(self):
        super().setUp()
        self.root = Path(os.environ["PELLARO_ROOT"])
        # The desktop's sockets, the home folder and what the case puts there; the site's name and its authority.
        for folder in ("/tmp", "/dev", "/etc/ssl/certs"):
            (self.root / folder[1:]).mkdir(parents=True, exist_ok=True)
            machine.bind(folder, self.root / folder[1:])
        (self.root / "etc/hosts").touch()
        machine.bind("/etc/hosts", self.root / "etc/hosts")
        self.before = self.files()
        self.addCleanup(self.run_in, "dpkg", "--purge", "pellaro")

    def run_in(self, *command):
        """Runs a command in the clean system and returns what it printed."""
        environment = {**self.desktop.environment, "DEBIAN_FRONTEND": "noninteractive", "LC_ALL": "C.UTF-8",
                       "PATH": "/usr/sbin:/usr/bin:/sbin:/bin"}
        done = subprocess.run(["chroot", self.root, *map(str, command)], env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, timeout=120, check=False)
        if done.returncode != 0:
            raise Failed(f"{command}: {done.stdout}")
        return done.stdout

    def program(self, bundle=None):
        program = Installed(self.desktop, self.root, bundle, texts=self.texts, TMPDIR=str(self.temporary), LANG="C.UTF-8")
        self._programs.append(program)
        return program

    def start(self, bundle=None):
        return self.program(bundle).start()

    def below_root(self, path):
        """Where a path in the clean system is for those outside it."""
        return self.root / str(path).lstrip("/")

    def files(self):
        """Every file, folder and link of the system."""
        found = set()
        for folder, folders, files in os.walk(self.root):
            inside = Path(folder).relative_to(self.root)
            folders[:] = [name for name in folders if str(inside / name) not in _ELSEWHERE]
            found.update(str(inside / name) for name in (*folders, *files) if str(inside / name) not in _ELSEWHERE)
        return found

    def assert_nothing_left(self):
        self.assertEqual(self.files() ^ self.before, set())
        self.assertNotIn("pellaro", self.run_in("dpkg-query", "--show", "--showformat", "${Package}\n").split())

    # Updates

    def accept_update(self, program):
        """Says yes to everything until the old version has ended."""
        program.alert(f"Update available: Version {SHIPPED['version']}").press("Update Now")
        program.alert("Downloading update …").press("Run in Background")
        program.alert("Ready to update", 60).press("Restart")
        self.assertEqual(program.wait_for_end(5)[0], 0, program.output_of_this_run())

    def assert_is_up_to_date(self, program):
        self.wait_for_log(program, f"Updater: up to date (build {SHIPPED['build']})")
        self.assertEqual(program.alerts(), [])

    # Releases

    def offer_what_ships(self):
        """Puts the archive and the feed on the site, as they are."""
        for file in (ARCHIVE, FEED):
            shutil.copy(file, self.site.files)

    def older_package(self):
        """The package, but of the version before."""
        unpacked = self.folder / "older"
        subprocess.run(["dpkg-deb", "--raw-extract", PACKAGE, unpacked], check=True)
        _make_older(unpacked / "Applications/Pellaro.app")
        control = unpacked / "DEBIAN/control"
        version = subprocess.run(["dpkg-deb", "--field", PACKAGE, "Version"], check=True, capture_output=True, text=True).stdout.strip()
        control.write_text(control.read_text(encoding="utf-8").replace(f"Version: {version}\n", f"Version: {version}~before\n"), encoding="utf-8")
        subprocess.run(["dpkg-deb", "--build", "--root-owner-group", unpacked, self.folder / "older.deb"], check=True, capture_output=True)
        return self.folder / "older.deb"

    def unpack_older_archive(self, target):
        """Unpacks the archive, but of the version before, so that the bundle becomes `target`."""
        with zipfile.ZipFile(ARCHIVE) as archive:
            for entry in archive.infolist():
                path = Path(archive.extract(entry, self.folder / "unpacked"))
                path.chmod(entry.external_attr >> 16 & 0o777)
        target.parent.mkdir(parents=True)
        (self.folder / "unpacked/Pellaro.app").rename(target)
        _make_older(target)


def _make_older(bundle):
    info = bundle / "Contents/Info.plist"
    values = plistlib.loads(info.read_bytes())
    values.update(CFBundleShortVersionString="0.9", CFBundleVersion=str(int(values["CFBundleVersion"]) - 1))
    info.write_bytes(plistlib.dumps(values))
    (bundle / "Contents/Resources/only in the older one").touch()
