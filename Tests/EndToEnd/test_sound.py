"""The system's sound in a clip: what it is, and whether it is in step with the picture."""

import os
import statistics
from dataclasses import dataclass

from case import Case, FRAME
from desktop.clip import SOUND_RATE
from desktop.processes import wait_for
from desktop.program import STARTED
from desktop.sound import PIPEWIRE, PULSEAUDIO, SoundServer, missing

AAC_FRAME = 1024 / 44100
IN_STEP = 0.040  # what nobody notices
LOUD = 0.3  # of a beep of 0.8
LIGHT = (1000, 200)  # the corner of the flash
SLOW = 1.5  # seconds that each flush takes on the slow disk; a save flushes more than once


@dataclass(frozen=True)
class Signal:
    """A flash with a beep: the moments of both, in seconds of the host clock."""

    flash: float
    beep: float


def onsets(samples):
    """When something loud begins after 100 ms without, in seconds."""
    found, quiet_since = [], -SOUND_RATE
    block = SOUND_RATE // 100
    for begin in range(0, len(samples), block):
        part = samples[begin:begin + block]
        if max(part) < LOUD and min(part) > -LOUD:
            continue
        at = begin + next(i for i, value in enumerate(part) if abs(value) >= LOUD)
        if at - quiet_since > SOUND_RATE // 10:
            found.append(at / SOUND_RATE)
        quiet_since = begin + len(part)
    return found


class SoundCase(Case):
    server = PULSEAUDIO

    def setUp(self):
        super().setUp()
        if lacking := missing(self.server):
            self.skipTest(f"not installed: {', '.join(lacking)}")
        SoundServer(self.desktop, self.server)

    def recording(self, **settings):
        """The program with a recording of the clock and of the system's sound under way."""
        program = self.pellaro(slow_disk=SLOW)
        program.write_defaults(didShowFirstRunWelcome=True, captureAudio=True, **settings)
        program.start()
        self.show_clock()
        program.start_recording()
        return program

    def signal(self):
        flash, beep = self.desktop.run(os.environ["PELLARO_FLASH_AND_BEEP"], *LIGHT).split()
        return Signal(int(flash) / 1e9, int(beep) / 1e9)

    def assert_beep(self, clip, at):
        """What was played: 1 kHz, the right channel half as loud as the left."""
        left, right = (channel[round((at + 0.005) * SOUND_RATE):round((at + 0.045) * SOUND_RATE)] for channel in clip.sound())
        crossings = sum(1 for before, after in zip(left, left[1:]) if before < 0 <= after)
        self.assertAlmostEqual(crossings / 0.04, 1000, delta=30)
        self.assertAlmostEqual(max(left), 0.8, delta=0.15)
        self.assertAlmostEqual(max(right) / max(left), 0.5, delta=0.1)

    def assert_same_span(self, clip):
        """Both tracks are equally long, to within a frame of each. A machine that is busy with something else records fewer pictures:
        then a picture lasts as long as the longest of the clip's last second."""
        (_, video), (_, sound) = clip.span("v"), clip.span("a")
        last = [at for at, _ in clip.packets() if at > video - 1]
        picture = max([FRAME, *(after - before for before, after in zip(last, last[1:]))])
        print(f"the picture lasts {video:.3f} s, the sound {sound:.3f} s; a picture {picture * 1000:.0f} ms")
        self.assertLess(abs(video - sound), AAC_FRAME + picture)

    def assert_in_step(self, clip, signals):
        """Every flash and beep is in the clip, and nothing else that is loud; sound and picture are in step at each."""
        heard = onsets(clip.sound()[0])
        self.assertEqual(len(heard), len(signals), f"{heard} for {signals}")
        times = [at for at, _ in clip.packets()]
        levels = clip.levels(LIGHT[0] + 32, LIGHT[1] + 32)
        seen = [at for at, level, before in zip(times[1:], levels[1:], levels) if level > 128 > before]
        self.assertEqual(len(seen), len(signals), f"{seen} for {signals}")
        for signal, sound, picture in zip(signals, heard, seen):
            # Each picture says by its clock what moment it shows: so the time of the flash is known better than to a picture.
            begin, end = sound - 0.5, sound + 0.5
            near = [at for at in times if begin <= at < end]
            moments = clip.clock(begin, end)
            offset = statistics.median(moment - at for moment, at in zip(moments, near)) - (signal.beep - sound)
            by_flash = (sound - picture) - (signal.beep - signal.flash)
            print(f"at {sound:.3f} s the sound is {offset * 1000:+.1f} ms behind the picture; by the flash {by_flash * 1000:+.1f} ms")
            self.assertLess(abs(offset), IN_STEP)
            first = near.index(picture)
            self.assertLess(moments[first - 1], signal.flash, "a picture from after the flash does not show it")
            self.assertGreater(moments[first], signal.flash - IN_STEP, "a picture from before the flash shows it")

    def saved_sound(self, program):
        """A clip that ends at a moment which is past when it is asked for: that of the click by which a menu was opened during another
        save. Sound is heard before it has come from the server; by then all of it is there."""
        active = program.icon_picture()
        program.left_click()
        wait_for("the icon to show the save", lambda: program.icon_picture() != active)
        menu = program.open_menu()
        wait_for("the icon to show the recording", lambda: program.icon_picture() == active, 120)
        save_last = menu.names("menu item")[0]
        program.choose(save_last, menu)
        program.alert(self.texts.saved).press("OK")
        clip = self.saved_clip(program)
        self.assertEqual(len(program.clips()), 2)
        self.assert_sound(clip)
        return clip


class Sound(SoundCase):
    def testWhatPlaysIsInTheClipInStepWithThePicture(self):
        program = self.recording(bufferDuration=30)
        head = self.signal()
        self.let_time_pass(10)
        tail = self.signal()
        clip = self.saved_sound(program)
        self.assertEqual([stream["codec_name"] for stream in clip.probe()["streams"]], ["h264", "aac"])
        audio = clip.probe()["streams"][1]
        self.assertEqual((audio["sample_rate"], audio["channels"]), ("44100", 2))
        self.assert_in_step(clip, [head, tail])
        for at in onsets(clip.sound()[0]):
            self.assert_beep(clip, at)
        self.assert_same_span(clip)

    def testWhereNothingPlaysThereIsSilence(self):
        program = self.recording()
        self.let_time_pass(2)
        clip = self.saved_sound(program)
        left, right = clip.sound()
        self.assertLess(max(max(left), -min(left), max(right), -min(right)), 0.001)
        self.assert_same_span(clip)

    def testAClickSavesTheSoundThatHasArrived(self):
        # What is still on its way from the server is not in the clip: less than anyone notices.
        program = self.recording()
        for _ in range(3):
            self.let_time_pass(1)
            program.left_click()
            self.assert_same_span(self.saved_clip(program))


class SoundWithPipeWire(Sound):
    server = PIPEWIRE


class SoundLong(SoundCase):
    """Minutes; run them with scripts/test --label-regex long."""

    LABELS = ("long",)

    def testInStepAfterAMinuteOfSilence(self):
        program = self.recording(bufferDuration=180)
        head = self.signal()
        self.let_time_pass(60)
        tail = self.signal()
        clip = self.saved_sound(program)
        self.assert_in_step(clip, [head, tail])
        self.assert_same_span(clip)

    def testInStepAfterFiveMinutes(self):
        # Longer than is kept: the clip begins with sound from before its first picture, as clips of a full buffer do.
        program = self.recording(bufferDuration=300)
        self.let_time_pass(22)
        signals = [self.signal()]
        for _ in range(4):
            self.let_time_pass(70)
            signals.append(self.signal())
        clip = self.saved_sound(program)
        self.assert_in_step(clip, signals)
        self.assert_same_span(clip)


class SoundLongWithPipeWire(SoundLong):
    server = PIPEWIRE


class NoSoundServer(Case):
    def testTheRecordingGoesOnWithoutSound(self):
        program = self.pellaro()
        program.write_defaults(didShowFirstRunWelcome=True, captureAudio=True)
        program.start()
        self.show_clock()
        program.start_recording()
        output = program.output_of_this_run()
        self.assertRegex(output, r"\[Pellaro\] Audio nicht verfügbar: \S")
        self.assertLess(output.index("Audio nicht verfügbar"), output.index(STARTED))
        self.let_time_pass(1)
        before, after = program.left_click()
        clip = self.saved_clip(program)
        self.assert_sound(clip)
        self.assert_ends_at(clip, before, after)
        self.assertEqual([stream["codec_name"] for stream in clip.probe()["streams"]], ["h264"])
