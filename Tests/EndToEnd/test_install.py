"""The copy into the Applications folder, from wherever the bundle was put."""

import os
import plistlib
import signal

import machine
from desktop.processes import wait_for
from desktop.program import GERMAN
from distribution import APPLICATIONS, INSTALLED, Distribution, end
from release import build_of, is_whole, make_bundle

OFFER, FAILED = "Install Pellaro?", "Installation Failed"


class Downloaded(Distribution):
    """The program in a folder of the user's, never started before."""

    def setUp(self):
        super().setUp()
        self.site.announce("1.0", 1)
        self.bundle = self.desktop.home / "It's \"Downloads\" & Ähnliches/Pellaro (2).app"
        self.bundle.parent.mkdir()
        make_bundle(self.bundle, "1.0", 1)


class Installing(Downloaded):
    def defaults(self, program):
        return plistlib.loads(program.defaults_file.read_bytes())

    def testItCopiesItselfAndComesUpFromThere(self):
        program = self.start(self.bundle)
        alert = program.alert(OFFER)
        self.assertEqual(alert.text, f"{OFFER}\nPellaro is not in the Applications folder — macOS may deny permissions or the hotkey may not "
                                     "work in other apps.\n\nShould Pellaro copy itself to Applications and relaunch now?")
        self.assertEqual(alert.buttons, ["Install & Relaunch", "Not Now"])
        alert.press("Install & Relaunch")
        self.assertEqual(program.wait_for_end(10)[0], 0)
        self.wait_until_running(INSTALLED)
        self.assertTrue(is_whole(self.bundle), "the copy that ran stays")
        wait_for("the icon", self.desktop.tray_icons)
        self.wait_for_log(program, "Updater: up to date (build 1)")
        self.assertEqual(program.alerts(), [], "an installed program offers nothing")
        self.assert_no_work_left()

    def testAnOlderCopyIsReplaced(self):
        make_bundle(INSTALLED, "0.9", 0)
        program = self.start(self.bundle)
        program.alert(OFFER).press("Install & Relaunch")
        self.wait_until_running(INSTALLED)
        self.assertEqual(build_of(INSTALLED), 1)
        self.assertEqual([path.name for path in (INSTALLED / "Contents/Resources").glob("of version*")], ["of version 1.0"])
        self.assert_no_work_left()

    def testItIsOfferedOncePerPlace(self):
        program = self.start(self.bundle)
        program.alert(OFFER)
        program.process.kill()  # not even answered
        program.wait_for_end()
        self.assertIs(self.defaults(program)[f"didOfferInstall_{self.bundle}"], True)
        program.start()
        self.wait_for_log(program, "Updater: up to date (build 1)")
        self.assertEqual(program.alerts(), [])
        program.quit()
        other = self.bundle.with_name("Pellaro.app")
        self.bundle.rename(other)
        self.start(other).alert(OFFER).press("Not Now")
        self.assertFalse(INSTALLED.exists())

    def testADevelopmentBuildIsLeftAlone(self):
        place = self.desktop.home / "pellaro/.build/debug/Pellaro.app"
        place.parent.mkdir(parents=True)
        self.bundle.rename(place)
        program = self.start(place)
        self.wait_for_log(program, "Updater: up to date (build 1)")
        self.assertEqual(program.alerts(), [])

    def assert_failed(self, program, text):
        alert = program.alert(FAILED)
        self.assertEqual(alert.text, f"{FAILED}\n{text}")
        self.assertEqual(alert.buttons, ["OK"])
        alert.press("OK")
        program.start_recording()

    def testAFullDiskLeavesNothing(self):
        self.put_small_disk(APPLICATIONS, "1m")
        program = self.start(self.bundle)
        program.alert(OFFER).press("Install & Relaunch")
        self.assert_failed(program, "Copy failed: No space left on device")
        self.assertEqual(os.listdir(APPLICATIONS), [])

    def testAFullDiskKeepsTheOlderCopy(self):
        size = sum(path.stat().st_size for path in self.bundle.rglob("*"))
        self.put_small_disk(APPLICATIONS, size + 2_000_000)
        make_bundle(INSTALLED, "0.9", 0)
        program = self.start(self.bundle)
        program.alert(OFFER).press("Install & Relaunch")
        self.assert_failed(program, "Copy failed: No space left on device")
        self.assertEqual(os.listdir(APPLICATIONS), ["Pellaro.app"])
        self.assertEqual(build_of(INSTALLED), 0)
        self.assertTrue(is_whole(INSTALLED))

    def testAReadOnlyDiskIsSaid(self):
        self.put_small_disk(APPLICATIONS, "1m")
        machine.make_read_only(APPLICATIONS)
        program = self.start(self.bundle)
        program.alert(OFFER).press("Install & Relaunch")
        self.assert_failed(program, "Copy failed: Read-only file system")

    def testAReadOnlyOlderCopyIsSaid(self):
        self.put_small_disk(APPLICATIONS, "1g")
        make_bundle(INSTALLED, "0.9", 0)
        machine.make_read_only(APPLICATIONS)
        program = self.start(self.bundle)
        program.alert(OFFER).press("Install & Relaunch")
        self.assert_failed(program, "Could not remove old version: Read-only file system")
        self.assertEqual(build_of(INSTALLED), 0)

    def testAKillDuringTheCopyLeavesNoHalfCopy(self):
        (self.bundle / "Contents/Resources/ballast").write_bytes(b"x" * 200_000_000)
        program = self.start(self.bundle)
        program.alert(OFFER).click("Install & Relaunch")
        wait_for("the beginning of the copy", self.work_left)
        end(program.process.pid, signal.SIGKILL)
        program.wait_for_end()
        self.assertFalse(INSTALLED.exists())
        self.assertNotEqual(self.work_left(), [])
        program.start()
        wait_for("the work of the killed one to go", lambda: not self.work_left())
        self.assertEqual(os.listdir(APPLICATIONS), [])


class InstallingInGerman(Downloaded):
    language = "de_DE.UTF-8"
    texts = GERMAN

    def testTheOfferIsInGerman(self):
        alert = self.start(self.bundle).alert("Pellaro installieren?")
        self.assertEqual(alert.text, "Pellaro installieren?\nPellaro liegt gerade nicht in „Programme\" — das kann dazu führen, dass macOS "
                                     "Berechtigungen verweigert oder der Hotkey nicht funktioniert.\n\nSoll Pellaro jetzt automatisch nach "
                                     "Programme kopiert und neu gestartet werden?")
        self.assertEqual(alert.buttons, ["Installieren & Neu starten", "Nicht jetzt"])
        alert.press("Nicht jetzt")
