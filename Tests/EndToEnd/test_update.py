"""From version 1 to version 2, with everything that can come between."""

import os
import shutil
import signal

import machine
from desktop.processes import descendants, wait_for
from distribution import APPLICATIONS, INSTALLED, Distribution, end
from release import build_of, is_whole, make_bundle

OFFER, LOADING, READY, FAILED = "Update available: Version 2.0", "Downloading update …", "Ready to update", "Update failed"
BALLAST = 150_000_000  # bytes of zeros: little to load, a moment to unpack and to copy


class Updating(Distribution):
    ballast = 0

    def setUp(self):
        super().setUp()
        self.prepare_applications()
        make_bundle(INSTALLED, "1.0", 1)
        self.new = make_bundle(self.folder / "new/Pellaro.app", "2.0", 2, self.ballast)
        self.site.announce("2.0", 2, notes="Alles neu")

    def prepare_applications(self):
        pass

    def accept(self, program):
        """Says yes until the download is under way."""
        program.alert(OFFER).press("Update Now")
        program.alert(LOADING).press("Run in Background")

    def restart(self, program):
        """Lets the downloaded version take over, up to the end of the old one."""
        program.alert(READY, 60).press("Restart")
        self.assertEqual(program.wait_for_end(5)[0], 0, program.output_of_this_run())

    def assert_failed(self, program, reason):
        """The alert says why, nothing is left, and the program goes on."""
        alert = program.alert(FAILED, 60)
        self.assertEqual(alert.text, f"{FAILED}\n{reason}")
        alert.press("OK")
        self.assertIn(f"Update failed: {reason}\n", program.log())
        self.assert_no_work_left()
        self.assertEqual(build_of(INSTALLED), 1)
        self.assertIsNone(program.process.poll())
        program.start_recording()


class WholeRoad(Updating):
    def testVersion2ComesUp(self):
        self.site.offer(self.new)
        kept = INSTALLED / "Contents/Resources/of version 1.0"
        program = self.start()
        alert = program.alert(OFFER)
        self.assertEqual(alert.text, f"{OFFER}\nBuild 1 → Build 2\n\nAlles neu")
        self.assertEqual(alert.buttons, ["Update Now", "Later"])
        alert.press("Update Now")
        alert = program.alert(LOADING)
        self.assertEqual(alert.text, f"{LOADING}\nVersion 2.0 is being downloaded.")
        self.assertEqual(self.site.requests, ["/version.json"], "the download waits for the alert")
        alert.press("Run in Background")
        self.assertEqual(program.alert(READY, 30).text, f"{READY}\nPellaro will restart now to install the update.")
        self.restart(program)
        self.wait_until_running(INSTALLED, {program.process.pid})
        self.assertEqual(build_of(INSTALLED), 2)
        self.assertTrue(kept.exists(), "the new version is merged into the old one")
        self.wait_for_log(program, "Updater: up to date (build 2)")
        self.assertIn("Update: download starting from https://pellaro.example/Pellaro.zip\n", program.log())
        self.assertIn("Update: replacing /Applications/Pellaro.app with new version\n", program.log())
        wait_for("the icon of version 2", self.desktop.tray_icons)
        self.assert_no_work_left()

    def testAPathOfEveryKindOfCharacterIsUpdatedInItsPlace(self):
        self.site.offer(self.new)
        bundle = self.desktop.home / "It's \"My\" $HOME `x` Äpps 日本" / "Pellaro 1.app"
        shutil.rmtree(INSTALLED)
        bundle.parent.mkdir()
        make_bundle(bundle, "1.0", 1)
        program = self.program(bundle)
        program.write_defaults(didShowFirstRunWelcome=True, **{f"didOfferInstall_{bundle}": True})
        program.start()
        self.accept(program)
        self.restart(program)
        self.wait_until_running(bundle, {program.process.pid})
        self.assertEqual(build_of(bundle), 2)
        self.assertFalse(INSTALLED.exists())
        self.wait_for_log(program, "Updater: up to date (build 2)")

    def testLaterLeavesEverythingAsItIsAndTheNextStartOffersAgain(self):
        self.site.offer(self.new)
        program = self.start()
        program.alert(OFFER).press("Later")
        program.quit()
        program.start()
        program.alert(OFFER).press("Later")
        self.assertEqual(self.site.requests, ["/version.json", "/version.json"])
        self.assertEqual(build_of(INSTALLED), 1)
        self.assert_no_work_left()

    def testNothingNewerIsOnlyLogged(self):
        self.site.announce("9.9", 1)
        program = self.start()
        self.wait_for_log(program, "Updater: up to date (build 1)")
        self.assertEqual(program.alerts(), [])


class BadArchives(Updating):
    def testABrokenArchiveFails(self):
        self.site.offer(self.new)
        archive = self.site.files / "Pellaro.zip"
        whole = archive.read_bytes()
        archive.write_bytes(whole[:len(whole) // 2])
        program = self.start()
        self.accept(program)
        self.assert_failed(program, "Could not extract ZIP")

    def testABundleThatLiesDeeperFails(self):
        self.site.offer(self.new, below="Pellaro-2.0")
        program = self.start()
        self.accept(program)
        self.assert_failed(program, "Pellaro.app not found in download")

    def testAnErrorPageInPlaceOfTheArchiveFails(self):
        program = self.start()
        self.accept(program)
        self.assert_failed(program, "Could not extract ZIP")


class BadSites(Updating):
    def assert_only_logged(self, program, line):
        self.wait_for_log(program, line)
        self.assertEqual(program.alerts(), [])

    def testAnErrorPageInPlaceOfTheFeedIsOnlyLogged(self):
        (self.site.files / "version.json").unlink()
        self.assert_only_logged(self.start(), "Updater: check failed — The answer of the update server could not be read.")

    def testAFeedThatNeverComesIsGivenUpAfterTenSeconds(self):
        self.site.replace("/version.json", "/stall/")
        self.assert_only_logged(self.start(), "Updater: check failed — Connection timed out")

    def testAServerThatIsGoneIsOnlyLogged(self):
        self.site.server.stop()
        self.assert_only_logged(self.start(), "Updater: check failed — Connection refused")

    def testADownloadThatStandsStillDoesNotKeepTheProgramFromQuitting(self):
        self.site.replace("/Pellaro.zip", "/stall/")
        program = self.start()
        self.accept(program)
        wait_for("the beginning of the download", self.work_left)
        program.quit()
        self.assert_no_work_left()


class ExpiredCertificate(Updating):
    certificate = {"days": -1}

    def testItsSiteIsNotSpokenTo(self):
        program = self.start()
        self.wait_for_log(program, "Updater: check failed — ")
        self.assertEqual(program.alerts(), [])
        self.assertEqual(self.site.requests, [])


class Disks(Updating):
    def prepare_applications(self):
        self.put_small_disk(APPLICATIONS, "1g")

    def assert_old_version_comes_back(self, program):
        self.wait_until_running(INSTALLED, {program.process.pid})
        self.assertEqual(build_of(INSTALLED), 1)
        wait_for("the icon of version 1", self.desktop.tray_icons)
        self.assert_no_work_left()

    def testAFullTemporaryDiskFails(self):
        self.site.offer(self.new)
        self.put_small_disk(self.temporary, "1m")
        program = self.start()
        self.accept(program)
        self.assert_failed(program, "No space left on device")

    def testATemporaryDiskThatIsFullBeforeTheArchiveIsUnpackedFails(self):
        self.site.offer(self.new)
        size = (self.site.files / "Pellaro.zip").stat().st_size
        self.put_small_disk(self.temporary, size + 1_000_000)
        program = self.start()
        self.accept(program)
        self.assert_failed(program, "Could not extract ZIP")

    def testAFullTargetKeepsTheOldVersion(self):
        self.site.offer(self.new)
        program = self.start()
        self.accept(program)
        program.alert(READY, 60)
        fill(APPLICATIONS)
        self.restart(program)
        self.assert_old_version_comes_back(program)

    def testAReadOnlyTargetKeepsTheOldVersion(self):
        self.site.offer(self.new)
        program = self.start()
        self.accept(program)
        program.alert(READY, 60)
        machine.make_read_only(APPLICATIONS)
        self.restart(program)
        self.assert_old_version_comes_back(program)


def fill(folder):
    """Leaves no room on the disk of the folder."""
    with open(folder / "full", "wb") as file:
        try:
            while True:
                file.write(b"x" * 1_000_000)
                file.flush()
        except OSError:
            pass


class Killed(Updating):
    """kill -9 at every step: what was installed still starts, and clears up."""

    ballast = BALLAST

    def setUp(self):
        super().setUp()
        self.site.offer(self.new)

    def kill(self, program):
        program.process.kill()
        program.wait_for_end()

    def assert_starts_and_clears_up(self, builds=(1,)):
        self.assertTrue(is_whole(INSTALLED))
        self.assertIn(build_of(INSTALLED), builds)
        program = self.start()
        wait_for("the work of the killed one to go", lambda: not self.work_left())
        program.start_recording()

    def process(self, name):
        return next((process for process, found in descendants().items() if found == name), None)

    def testAtTheOffer(self):
        program = self.start()
        program.alert(OFFER)
        self.kill(program)
        self.assert_starts_and_clears_up()

    def testBeforeTheDownload(self):
        program = self.start()
        program.alert(OFFER).press("Update Now")
        program.alert(LOADING)
        self.kill(program)
        self.assert_starts_and_clears_up()

    def testDuringTheDownload(self):
        self.site.replace("/Pellaro.zip", "/stall/")
        program = self.start()
        self.accept(program)
        wait_for("the beginning of the download", self.work_left)
        self.kill(program)
        self.assertNotEqual(self.work_left(), [])
        self.assert_starts_and_clears_up()

    def testWhileTheArchiveIsUnpacked(self):
        program = self.start()
        self.accept(program)
        helper = wait_for("the helper that unpacks", lambda: self.process("ditto"), 60)
        os.kill(helper, signal.SIGSTOP)
        self.kill(program)
        self.assertNotEqual(self.work_left(), [])
        end(helper, signal.SIGKILL)
        self.assert_starts_and_clears_up()

    def testOfTheHelperThatUnpacksFailsTheUpdate(self):
        program = self.start()
        self.accept(program)
        end(wait_for("the helper that unpacks", lambda: self.process("ditto"), 60), signal.SIGKILL)
        self.assert_failed(program, "Could not extract ZIP")

    def testWhenTheUpdateIsReady(self):
        program = self.start()
        self.accept(program)
        program.alert(READY, 60)
        self.kill(program)
        self.assertNotEqual(self.work_left(), [])
        self.assert_starts_and_clears_up()

    def testOfTheScriptBeforeItReplacesAnything(self):
        program = self.start()
        self.accept(program)
        self.restart(program)
        end(wait_for("the script", lambda: self.process("sh")), signal.SIGKILL)
        self.assert_starts_and_clears_up()

    def testOfTheScriptAndItsHelperWhileTheVersionIsReplaced(self):
        program = self.start()
        self.accept(program)
        self.restart(program)
        wait_for("the beginning of the replacement", lambda: any(".ditto-" in name for name in self.work_left()))
        end(self.process("sh"), signal.SIGKILL)
        end(self.process("ditto"), signal.SIGKILL)
        wait_for("the helper to be gone", lambda: not self.process("ditto"))
        self.assert_starts_and_clears_up()

    def testOfTheHelperAloneOpensTheOldVersionAgain(self):
        program = self.start()
        self.accept(program)
        self.restart(program)
        wait_for("the beginning of the replacement", lambda: any(".ditto-" in name for name in self.work_left()))
        end(self.process("ditto"), signal.SIGKILL)
        # The script goes on after its helper and opens what there is.
        self.wait_until_running(INSTALLED, {program.process.pid})
        self.assertEqual(build_of(INSTALLED), 1)
        wait_for("the icon", self.desktop.tray_icons)
        wait_for("the work of the killed one to go", lambda: not self.work_left())
        # And offers the update again.
        program.alert(OFFER).press("Later")


class UpdatingInGerman(Updating):
    language = "de_DE.UTF-8"

    def testTheRoadInGerman(self):
        self.site.offer(self.new)
        program = self.start()
        alert = program.alert("Update verfügbar: Version 2.0")
        self.assertEqual(alert.buttons, ["Jetzt aktualisieren", "Später"])
        alert.press("Jetzt aktualisieren")
        alert = program.alert("Update wird geladen …")
        self.assertEqual(alert.text, "Update wird geladen …\nVersion 2.0 wird heruntergeladen.")
        alert.press("Im Hintergrund")
        alert = program.alert("Update bereit", 30)
        self.assertEqual(alert.text, "Update bereit\nPellaro wird jetzt neu gestartet um das Update zu installieren.")
        alert.press("Neu starten")
        self.wait_until_running(INSTALLED, {program.process.pid})
        self.assertEqual(build_of(INSTALLED), 2)

