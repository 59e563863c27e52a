"""The first start, later starts, and every way to quit."""

import signal

from case import Case
from desktop.processes import wait_for

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
