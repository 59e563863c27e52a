"""Both packages in a clean system: installed, run, updated, removed. scripts/package-test makes the system."""

import configparser
import os
import shlex
import shutil
import stat
import subprocess
import tempfile
import unittest
import zipfile
from pathlib import Path

from clean_system import ARCHIVE, PACKAGE, SHIPPED, CleanSystem
from distribution import INSTALLED
from release import build_of, is_whole

ENTRY = "usr/share/applications/com.pellaro.Pellaro.desktop"


class Packaged(CleanSystem):
    def setUp(self):
        super().setUp()
        self.bundle = self.below_root(INSTALLED)

    def install(self, package):
        """Installs a package file; there is no network, so what it depends on has to be there."""
        shutil.copy(package, self.folder / "pellaro.deb")
        self.run_in("apt-get", "install", "-y", "--no-install-recommends", self.folder / "pellaro.deb")

    def choose_action(self, name):
        entry = configparser.ConfigParser(interpolation=None, delimiters="=")
        entry.read(self.root / ENTRY, encoding="utf-8")
        self.run_in(*shlex.split(entry[f"Desktop Action {name}"]["Exec"]))

    def testItIsInstalledRunsAndIsRemoved(self):
        self.offer_what_ships()
        self.install(PACKAGE)
        program = self.start()
        self.assert_is_up_to_date(program)
        self.show_clock()
        self.choose_action("toggle")
        program.wait_until_recording()
        self.let_time_pass(2)
        self.choose_action("save")
        program.alert(self.texts.saved, 30).press("OK")
        [clip] = program.clips()
        facts = subprocess.run(["ffprobe", "-v", "error", "-count_frames", "-show_entries", "stream=codec_name,width,height,nb_read_frames",
                                "-of", "csv=p=0", clip], capture_output=True, text=True, check=True)
        codec, width, height, frames = facts.stdout.strip().split(",")
        self.assertEqual((codec, int(width), int(height)), ("h264", *self.screen))
        self.assertGreater(int(frames), 30)
        self.choose_action("settings")
        self.desktop.window("Pellaro Settings")
        program.process.terminate()
        self.assertEqual(program.wait_for_end(5)[0], 0)
        self.run_in("dpkg", "--remove", "pellaro")
        self.assert_nothing_left()

    def testItUpdatesItselfFromWhatShipsAndIsRemovedWithAllItHasBecome(self):
        self.offer_what_ships()
        self.install(self.older_package())
        self.assertEqual(build_of(self.bundle), SHIPPED["build"] - 1)
        program = self.start()
        self.accept_update(program)
        self.wait_until_running(self.bundle, {program.process.pid})
        self.assert_is_up_to_date(program)
        self.assertEqual(build_of(self.bundle), SHIPPED["build"])
        (self.bundle / "Contents/Resources/of a later version").touch()
        (self.bundle.parent / ".Pellaro.app-old-1-2-3-4").mkdir()
        self.run_in("apt-get", "purge", "-y", "pellaro")
        self.assert_nothing_left()

    def testANewerPackageReplacesAnOlderWhileItRuns(self):
        self.offer_what_ships()
        self.install(self.older_package())
        program = self.start()
        program.alert(f"Update available: Version {SHIPPED['version']}").press("Later")
        self.install(PACKAGE)
        self.assertEqual(build_of(self.bundle), SHIPPED["build"])
        self.assertFalse((self.bundle / "Contents/Resources/only in the older one").exists())
        program.start_recording()
        program.right_click()
        program.wait_until_idle()
        program.quit()
        program.start()
        self.assert_is_up_to_date(program)
        self.run_in("dpkg", "--purge", "pellaro")
        self.assert_nothing_left()

    def testAUsersOtherProgramsInTheFolderAreLeftAlone(self):
        self.install(PACKAGE)
        other = self.bundle.with_name("Other.app")
        other.mkdir()
        self.run_in("dpkg", "--remove", "pellaro")
        self.assertFalse(self.bundle.exists())
        other.rmdir()
        other.parent.rmdir()
        self.assert_nothing_left()


class Contents(unittest.TestCase):
    """What lies in the packages, without starting any of it."""

    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        subprocess.run(["dpkg-deb", "--extract", PACKAGE, self.folder], check=True)
        self.bundle = self.folder / "Applications/Pellaro.app"

    def testBothHoldTheSameBundle(self):
        with zipfile.ZipFile(ARCHIVE) as archive:
            entries = {entry.filename.rstrip("/"): entry for entry in archive.infolist()}
            installed = [self.bundle, *self.bundle.rglob("*")]
            self.assertEqual(set(entries), {str(path.relative_to(self.bundle.parent)) for path in installed})
            for path in installed:
                entry = entries[str(path.relative_to(self.bundle.parent))]
                self.assertEqual(stat.S_IMODE(entry.external_attr >> 16), stat.S_IMODE(path.stat().st_mode), path)
                if path.is_file():
                    self.assertEqual(archive.read(entry), path.read_bytes(), path)

    def testNothingInItNamesTheFolderItWasBuiltIn(self):
        project = os.fsencode(Path(__file__).resolve().parent.parent.parent)
        files = [path for path in self.folder.rglob("*") if path.is_file() and not path.is_symlink()]
        self.assertGreater(len(files), 20)
        self.assertEqual([path for path in files if project in path.read_bytes()], [])

    def testItsProgramsLookForLibrariesWhereTheSystemHasThem(self):
        programs = [*self.bundle.glob("Contents/Linux/*"), *self.bundle.glob("Contents/Helpers/*")]
        self.assertEqual(sorted(path.name for path in programs), ["Pellaro", "ditto", "open"])
        for program in programs:
            dynamic = subprocess.run(["readelf", "--dynamic", "--wide", program], check=True, capture_output=True, text=True).stdout
            self.assertIn("(NEEDED)", dynamic)
            self.assertNotRegex(dynamic, r"\((RPATH|RUNPATH)\)")


class Archive(CleanSystem):
    """The bundle alone, where no package was ever installed."""

    def testItRunsFromWhereverItLiesUpdatesItselfAndIsRemoved(self):
        self.offer_what_ships()
        bundle = self.desktop.home / "It's \"My\" $HOME `x` Äpps 日本/Pellaro 1.app"
        self.unpack_older_archive(bundle)
        program = self.program(bundle)
        program.write_defaults(didShowFirstRunWelcome=True, **{f"didOfferInstall_{bundle}": True})
        program.start()
        self.accept_update(program)
        self.wait_until_running(self.below_root(bundle), {program.process.pid})
        self.assert_is_up_to_date(program)
        self.assertEqual(build_of(bundle), SHIPPED["build"])
        self._end_programs()
        shutil.rmtree(bundle.parent)
        self.assert_nothing_left()

    def testItInstallsItself(self):
        self.offer_what_ships()
        bundle = self.desktop.home / "Downloads/Pellaro.app"
        self.unpack_older_archive(bundle)
        program = self.start(bundle)
        program.alert("Install Pellaro?").press("Install & Relaunch")
        self.assertEqual(program.wait_for_end(10)[0], 0)
        installed = self.below_root(INSTALLED)
        self.wait_until_running(installed, {program.process.pid})
        self.assertTrue(is_whole(installed))
        program.alert(f"Update available: Version {SHIPPED['version']}").press("Later")
        self._end_programs()
        shutil.rmtree(installed.parent)
        self.assert_nothing_left()
