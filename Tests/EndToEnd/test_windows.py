"""Recording a single window, chosen as a person does."""

from case import Case, FRAME
from desktop.clip import CELL, COLUMNS, ROWS
from desktop.processes import PATIENCE, end_child, wait_for
from desktop.program import GERMAN

SELECTED_WINDOW = 1
# What covers a window when its recording begins, as the chooser may, is black until the window's program has drawn what was beneath.
DRAWN = 0.3  # seconds of the clip
CANCELLED = "[Pellaro] Fensterauswahl abgebrochen."


class WindowCase(Case):
    def setUp(self):
        super().setUp()
        # The frames have the size of the screen, and the window, which is smaller, lies in the middle.
        width, height = COLUMNS * CELL, (ROWS + 1) * CELL
        self.clock_in_clip = (self.desktop.width - width) // 2, (self.desktop.height - height) // 2

    def program(self, **settings):
        program = self.pellaro()
        program.write_defaults(didShowFirstRunWelcome=True, captureMode=SELECTED_WINDOW, **settings)
        return program.start()

    def clocks(self):
        """Two windows: the one that is recorded, and one in front of it."""
        clock = self.open_clock("Clock of the test")
        self.desktop.window("Clock of the test")
        self.open_clock("Another window", stopped=True)
        self.desktop.window("Another window")
        return clock

    def choose_clock(self, program):
        program.choose(self.texts.start)
        program.chooser()
        # The front-most window would be the other one: only the search finds this one.
        self.desktop.type("clock")
        self.desktop.keys("Return")
        program.wait_until_chooser_is_closed()
        program.wait_until_recording()
        self.desktop.move_pointer(self.desktop.width - 1, 0)

    def cover_clock(self):
        """Puts the other window, whose clock stands still, exactly over the recorded one."""
        for title in ("Clock of the test", "Another window"):
            window = self.desktop.window(title)
            self.desktop.run("xdotool", "windowmove", window.id, 200, 150)
            self.desktop.run("xdotool", "windowraise", window.id)

        def covered():
            one, other = self.desktop.window("Clock of the test"), self.desktop.window("Another window")
            return (one.x, one.y) == (other.x, other.y) and self.desktop.pixels(one) == self.desktop.pixels(one)

        wait_for("the other window to cover the clock", covered)

    def saved_window_clip(self, program):
        return self.saved_clip(program, clock_at=self.clock_in_clip)

    def assert_shows_clock(self, clip, before, after):
        """The window's own content in every picture, moving up to the moment between `before` and `after`, and nothing beside it."""
        self.assert_sound(clip)
        self.assert_ends_at(clip, before, after)
        shown = clip.clock(begin=DRAWN)
        self.assertEqual(shown, sorted(shown))
        times = [at for at, _ in clip.packets() if at >= DRAWN]
        self.assertEqual(len(times), len(shown))
        for at, moment in zip(times, shown):
            self.assertAlmostEqual(moment - shown[0], at - times[0], delta=5 * FRAME * PATIENCE, msg="a picture stands at the wrong time")
        self.assertLessEqual(clip.brightest_beside_the_clock(), 20, "something is beside the window")


class Windows(WindowCase):
    def testTheChosenWindowIsRecordedAlsoWhereAnotherCoversIt(self):
        self.clocks()
        program = self.program()
        self.choose_clock(program)
        self.let_time_pass(1)
        self.cover_clock()
        self.let_time_pass(1.5)
        before, after = program.left_click()
        clip = self.saved_window_clip(program)
        self.assert_shows_clock(clip, before, after)
        self.assertGreater(clip.packets()[-1][0], 2)
        [stream] = clip.probe()["streams"]
        self.assertEqual((stream["width"], stream["height"]), (self.desktop.width, self.desktop.height))

    def testAWindowThatWasClosedCanStillBeSaved(self):
        clock = self.clocks()
        program = self.program()
        self.choose_clock(program)
        self.let_time_pass(1)
        end_child(clock)
        self.let_time_pass(1)
        before, _ = program.left_click()
        clip = self.saved_window_clip(program)
        self.assert_sound(clip)
        shown = clip.clock(begin=DRAWN)
        self.assertEqual(shown, sorted(shown))
        self.assertGreater(shown[-1] - shown[0], 0.7)
        self.assertLess(shown[-1], before - 0.9, "there are pictures from after the end of the window")

    def testEscInTheChooserStartsNothing(self):
        self.clocks()
        program = self.program()
        program.choose(self.texts.start)
        program.chooser()
        self.desktop.keys("Escape")
        program.wait_until_chooser_is_closed()
        wait_for("the report that nothing was chosen", lambda: CANCELLED in program.output_of_this_run())
        program.wait_until_idle()
        self.assertEqual(program.alerts(), [])
        # It can be asked again.
        self.choose_clock(program)
        before, after = program.left_click()
        self.assert_shows_clock(self.saved_window_clip(program), before, after)

    def testAskingAgainWhileTheChooserIsOpenMakesOneRecording(self):
        self.clocks()
        program = self.program()
        program.choose(self.texts.start)
        program.chooser()
        self.choose_clock(program)
        self.let_time_pass(1)
        before, after = program.left_click()
        self.assert_shows_clock(self.saved_window_clip(program), before, after)
        program.right_click()
        program.wait_until_idle()

    def testQuittingWithTheChooserOpenEndsTheProgram(self):
        program = self.program()
        program.choose(self.texts.start)
        program.chooser()
        program.choose(self.texts.quit)
        self.assertEqual(program.wait_for_end()[0], 0)


class WindowsInGerman(WindowCase):
    language = "de_DE.UTF-8"
    texts = GERMAN

    def testTheChooserSpeaksGermanAndItsButtonsWork(self):
        self.clocks()
        program = self.program()
        program.choose(self.texts.start)
        chooser = program.chooser()
        self.desktop.click(chooser.named("push button", self.texts.cancel).centre)
        program.wait_until_chooser_is_closed()
        program.choose(self.texts.start)
        program.chooser()
        self.desktop.type("clock")
        chooser = program.chooser()
        self.desktop.click(chooser.named("push button", self.texts.record_window).centre)
        program.wait_until_recording()
