"""The first start, later starts, and every way to quit."""

import os
import re
import signal
import subprocess

from case import Case
from desktop.processes import end_child, wait_for

SLOW = 3  # seconds that each flush takes on the slow disk


class Starting(Case):
    def testTheWelcomeIsShownOnceEvenIfItWasNotAnswered(self):
        first = self.pellaro(welcomed=False).start()
        first.alert(self.texts.welcome)
        first.process.terminate()
        self.assertEqual(first.wait_for_end()[0], 0)

        second = self.pellaro(welcomed=False).start()
        self.show_clock()
        second.start_recording()
        # Longer than the welcome waits before it appears.
        self.let_time_pass(1)
        second.left_click()
        alert = second.alert(self.texts.saved)
        self.assertEqual([other.text for other in second.alerts()], [alert.text])

    def testTheWelcomesFirstButtonStartsTheRecording(self):
        program = self.pellaro(welcomed=False).start()
        program.alert(self.texts.welcome).press(self.texts.start)
        program.wait_until_recording()

    def testTheLogTellsOfTheEncoderAndTheSave(self):
        program = self.pellaro().start()
        self.show_clock()
        program.start_recording()
        self.let_time_pass(1)
        program.left_click()
        program.alert(self.texts.saved).press("OK")
        self.assertIn("Encoder start: 1280×720", program.log())
        self.assertRegex(program.log(), r"saveNow: flush encoder …\n.*saveNow: \d+ video \+ 0 audio chunks für 60\.0s")


class Quitting(Case):
    def recording(self, **options):
        program = self.pellaro(**options).start()
        self.show_clock()
        program.start_recording()
        return program

    def assert_ended(self, program):
        code, _ = program.wait_for_end(2)
        self.assertEqual(code, 0, program.output_of_this_run())
        self.assert_no_broken_clip(program)
        wait_for("the icon to leave the status area", lambda: not self.desktop.tray_icons())

    def testTheMenuQuitsWhenIdle(self):
        program = self.pellaro().start()
        program.choose(self.texts.quit)
        self.assert_ended(program)

    def testTheMenuQuitsWithAnAlertOpen(self):
        program = self.pellaro().start()
        program.choose(self.texts.save_last)
        program.alert(self.texts.not_recording)
        program.choose(self.texts.quit)
        self.assert_ended(program)

    def testTheMenuQuitsDuringASave(self):
        program = self.recording(slow_disk=SLOW)
        self.let_time_pass(1)
        active = program.icon_picture()
        program.left_click()
        wait_for("the icon to show the save", lambda: program.icon_picture() != active)
        program.choose(self.texts.quit)
        self.assert_ended(program)

    def testASignalQuitsWhileRecording(self):
        program = self.recording()
        self.let_time_pass(1)
        program.process.terminate()
        self.assert_ended(program)

    def testASignalQuitsDuringAStart(self):
        program = self.pellaro().start()
        program.choose(self.texts.start)
        program.process.terminate()
        self.assert_ended(program)

    def testASignalQuitsWithAnAlertOpen(self):
        program = self.recording()
        self.let_time_pass(1)
        program.left_click()
        program.alert(self.texts.saved)
        program.process.terminate()
        self.assert_ended(program)

    def testASignalQuitsAtAnyMomentOfASave(self):
        for moment in range(6):
            program = self.recording() if moment == 0 else self.restarted()
            self.let_time_pass(0.5)
            program.left_click()
            self.let_time_pass(moment * 0.01)
            program.process.terminate()
            self.assert_ended(program)

    def restarted(self):
        program = self.pellaro().start()
        program.start_recording()
        return program

    def testAnInterruptQuitsAsWell(self):
        program = self.recording()
        program.process.send_signal(signal.SIGINT)
        self.assert_ended(program)


class SessionEnd(Case):
    """The session ends, and the program with it: nobody is asked, and a clip that is being written is finished."""

    LIMIT = 10  # seconds that a clip being written gets
    TOO_SLOW = 30

    def saving(self, seconds, **options):
        """A program in the middle of a save whose flush takes that long."""
        program = self.pellaro(slow_disk=seconds, **options).start()
        self.show_clock()
        program.start_recording()
        self.let_time_pass(1)
        active = program.icon_picture()
        program.left_click()
        wait_for("the icon to show the save", lambda: program.icon_picture() != active)
        wait_for("the clip to be written", lambda: list(program.clips_folder.glob(".pellaro-*.mp4")))
        return program

    def assert_one_clip(self, program):
        self.assertEqual(len(program.clips()), 1)
        self.assert_no_broken_clip(program)

    def testASignalDuringASaveLetsTheClipBeFinished(self):
        program = self.saving(SLOW)
        program.process.terminate()
        code, seconds = program.wait_for_end(self.LIMIT)
        self.assertEqual(code, 0, program.output_of_this_run())
        self.assert_one_clip(program)
        print(f"ended after {seconds:.1f} s")

    def testASaveThatTakesTooLongIsGivenUpAndLeavesNoClip(self):
        program = self.saving(self.TOO_SLOW)
        program.process.terminate()
        code, seconds = program.wait_for_end(self.LIMIT + 2)
        self.assertEqual(code, 0, program.output_of_this_run())
        self.assertGreater(seconds, self.LIMIT - 1, "the save got less than its time")
        self.assertEqual([path.name for path in program.clips_folder.iterdir()], [])
        print(f"ended after {seconds:.1f} s")

    def testASignalWhileIdleEndsItAtOnce(self):
        program = self.pellaro().start()
        program.process.terminate()
        self.assertEqual(program.wait_for_end(1)[0], 0)

    def testADisplayThatGoesDuringASaveLetsTheClipBeFinished(self):
        program = self.saving(SLOW)
        end_child(self.desktop.x_server)
        code, _ = program.wait_for_end(self.LIMIT)
        self.assertGreater(code, 0)
        self.assertLess(code, 128)
        self.assert_one_clip(program)

    def testALogOutDuringASaveLetsTheClipBeFinished(self):
        manager, address = self.start_session_manager()
        program = self.saving(SLOW, SESSION_MANAGER=address)
        manager.terminate()  # it takes that for the user's wish to log out
        code, seconds = program.wait_for_end(self.LIMIT)
        self.assertEqual(code, 0, program.output_of_this_run())
        self.assertGreater(seconds, 0.5, "it cannot have waited for the clip")
        self.assert_one_clip(program)
        self.assertIn("SESSION MANAGER GOING AWAY", self.desktop.output("unshare"))

    def testALogOutEndsItWithAnAlertOpen(self):
        manager, address = self.start_session_manager()
        program = self.pellaro(SESSION_MANAGER=address).start()
        program.choose(self.texts.save_last)
        program.alert(self.texts.not_recording)
        manager.terminate()
        self.assertEqual(program.wait_for_end(5)[0], 0, program.output_of_this_run())

    def start_session_manager(self):
        """A session manager of the X11 kind and the address by which programs know it. It has no network: it would listen there."""
        alone = ["unshare", "--net"] if os.geteuid() == 0 else ["unshare", "--user", "--map-root-user", "--net"]
        if subprocess.run([*alone, "true"], stdin=subprocess.DEVNULL, capture_output=True, check=False).returncode != 0:
            self.skipTest("this machine lets nobody start a program without a network")
        # It starts what this file lists.
        (self.desktop.home / ".xsmstartup").write_text("env\n", encoding="utf-8")
        manager = self.desktop.start(*alone, "xsm", "-verbose")
        address = wait_for("the session manager", lambda: re.search(r"^SESSION_MANAGER=.*?(unix/[^,\n]*/[^,\n]*)",
                                                                    self.desktop.output("unshare"), re.MULTILINE))
        return manager, address[1]
