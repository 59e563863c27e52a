"""What goes wrong around the program: the display, the disk, the settings file, the program itself."""

import os
import signal
import subprocess
import time

from case import Case
from desktop.processes import end_child, wait_for


class Faults(Case):
    def recording(self, **options):
        program = self.pellaro(**options).start()
        self.show_clock()
        program.start_recording()
        return program

    def assert_failed(self, program, seconds, *words):
        """The program ends by itself with an exit code of its own choice and says why."""
        code, _ = program.wait_for_end(seconds)
        self.assertGreater(code, 0, "ended as if all was well, or by a signal")
        self.assertLess(code, 128, "ended like a crash")
        for word in words:
            self.assertIn(word, program.output_of_this_run().lower())

    def testItEndsWithAMessageWhenTheDisplayGoesAway(self):
        program = self.recording()
        self.let_time_pass(1)
        end_child(self.desktop.x_server)
        self.assert_failed(program, 5, "x server")

    def testItEndsWithAMessageWhereThereIsNoDisplay(self):
        program = self.pellaro()
        for name in ("DISPLAY", "XAUTHORITY"):
            del self.desktop.environment[name]
        program.launch()
        self.assert_failed(program, 5, "x server")

    def testADisplayThatNeverWasEndsItWithAMessage(self):
        program = self.pellaro(DISPLAY=":9876")
        program.launch()
        self.assert_failed(program, 5, "x server")

    def testATruncatedSettingsFileIsSetAside(self):
        program = self.pellaro()
        program.write_defaults(didShowFirstRunWelcome=True, bufferDuration=300)
        whole = program.defaults_file.read_bytes()
        program.defaults_file.write_bytes(whole[:len(whole) // 2])
        program.start()
        program.alert(self.texts.welcome).press("OK")
        # The length is the one that holds without a setting.
        menu = program.open_menu()
        self.assertIn(self.texts.save_last, menu.names("menu item"))
        aside = [path for path in program.defaults_file.parent.iterdir() if path != program.defaults_file]
        self.assertEqual([path.read_bytes() for path in aside], [whole[:len(whole) // 2]])
        program.choose(self.texts.quit, menu)
        self.assertEqual(program.wait_for_end()[0], 0)

    def testADisplayNumberThatNoDisplayCanHaveStopsIt(self):
        program = self.pellaro()
        program.write_defaults(didShowFirstRunWelcome=True, captureDisplayID=-1)
        program.launch()
        code, _ = program.wait_for_end(10)
        self.assertNotEqual(code, 0)
        self.assertIn("captureDisplayID", program.output_of_this_run())

    def testAKillAtAnyMomentOfASaveLeavesACompleteClipOrNone(self):
        # First how long a save takes, then kills spread evenly over a little more than that.
        program = self.recording()
        self.let_time_pass(1)
        begin, _ = program.left_click()
        wait_for("the clip", program.clips)
        duration = time.monotonic() - begin
        program.process.kill()
        program.wait_for_end()
        rounds, complete = 20, 0
        for number in range(rounds):
            folder = self.desktop.home / f"round{number}"
            program = self.pellaro()
            program.write_defaults(didShowFirstRunWelcome=True, savePath=str(folder))
            program.clips_folder = folder
            program.start()
            program.start_recording()
            self.let_time_pass(0.3)
            begin, _ = program.left_click()
            self.let_time_pass(max(0, begin + duration * 1.3 * number / rounds - time.monotonic()))
            program.process.send_signal(signal.SIGKILL)
            program.wait_for_end()
            complete += len(program.clips())
            self.assert_no_broken_clip(program)
        print(f"{complete} of {rounds} killed saves had left their clip; a save took {duration * 1000:.0f} ms")


class FullDisk(Case):
    """A save folder on a disk of its own, too small for any clip, seen by the program alone."""

    SIZE = "8k"

    def setUp(self):
        super().setUp()
        self.namespace = ["unshare", "--mount"] if os.geteuid() == 0 else ["unshare", "--user", "--map-root-user", "--mount"]
        trial = subprocess.run([*self.namespace, "mount", "-t", "tmpfs", "tmpfs", str(self.desktop.home)], stdin=subprocess.DEVNULL,
                               capture_output=True, text=True, check=False)
        if trial.returncode != 0:
            self.skipTest(f"this machine lets nobody mount a disk in memory: {trial.stderr.strip()}")

    def testASaveOnAFullDiskFailsWithAnAlertAndTheRecordingGoesOn(self):
        folder = self.desktop.home / "small"
        folder.mkdir()
        mount = f'mount -t tmpfs -o size={self.SIZE} tmpfs "{folder}" && exec "$@"'
        program = self.pellaro(folder=folder, wrapper=[*self.namespace, "sh", "-c", mount, "sh"]).start()
        self.show_clock()
        program.start_recording()
        self.let_time_pass(3)
        before = program.icon_picture()
        program.left_click()
        alert = program.alert(self.texts.export_error)
        self.assertEqual(alert.buttons, ["OK"])
        # The hidden file that could not be finished stays; nothing has the name of a clip.
        inside = os.listdir(f"/proc/{program.process.pid}/root{folder}")
        self.assertEqual([name for name in inside if not name.startswith(".")], [], "a part of the clip was left")
        self.assertGreater(len(alert.text.splitlines()), 1, "the reason is missing")
        alert.press("OK")
        wait_for("the icon to show the recording", lambda: program.icon_picture() == before)
        program.left_click()
        program.alert(self.texts.export_error).press("OK")
