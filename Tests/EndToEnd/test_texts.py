"""What the windows say, in both languages, read the way a screen reader reads them."""

from case import Case
from desktop.program import GERMAN

from desktop.processes import wait_for


class InEnglish(Case):
    welcome = ("Pellaro is running\n"
               "You can see a large \"P\" in the menu bar.\n\n"
               "• Pellaro.app must be in \"Applications\" (not Downloads).\n"
               "• Always launch via Right-click → Open → Open Anyway (double-click is not enough).\n\n"
               "Next: click \"P\" → \"Start Recording\".")
    not_recording = ("Recording is not running\n"
                     "The \"P\" is in the menu bar, but recording has not started yet.\n\n"
                     "1. Click \"P\" → \"Start Recording\"\n"
                     "2. Allow Screen Recording (System Settings)\n"
                     "3. Quit Pellaro and relaunch it\n"
                     "4. Wait until the circle is filled — then save")
    saved = "Saved!\nRecording saved to:\n{path}"
    saved_buttons = ["OK", "Show in Finder"]
    folder = ("Storage folder unavailable\n"
              "The folder \"{path}\" could not be created or accessed.\n\n"
              "Possible causes:\n"
              "• No write permission for this folder\n"
              "• External drive or iCloud Drive not available\n"
              "• Invalid path\n\n"
              "Choose a different storage location in Settings.\n\n"
              "Technical: ")
    folder_buttons = ["Open Settings", "OK"]
    idle_tip = "Pellaro – Paused  (Right-click: Menu)"
    recording_tip = "Pellaro – Recording  (Left: Save  |  Right: Menu)"

    def tip(self, program):
        """The tool tip of the icon."""
        self.desktop.move_pointer(10, 10)
        self.desktop.move_pointer(*program.icon.centre)
        window = wait_for("the tool tip", lambda: next((w for w in self.desktop.accessibility.windows() if w.role == "tool tip"), None))
        self.desktop.move_pointer(10, 10)
        return window.name

    def testTheWelcomeSaysWhereToBegin(self):
        program = self.pellaro(welcomed=False).start()
        alert = program.alert(self.texts.welcome)
        self.assertEqual(alert.text, self.welcome)
        self.assertEqual(alert.buttons, [self.texts.start, "OK"])
        alert.press("OK")

    def testTheMenuAndTheToolTipFollowTheState(self):
        program = self.pellaro().start()
        self.assertEqual(self.tip(program), self.idle_tip)
        menu = program.open_menu()
        self.assertEqual(menu.names("menu item"), [self.texts.save_last, self.texts.start, self.texts.settings, self.texts.quit])
        program.choose(self.texts.start, menu)
        program.wait_until_recording()
        self.assertEqual(self.tip(program), self.recording_tip)

    def testSavingWithoutARecordingExplainsHowToStart(self):
        program = self.pellaro().start()
        program.choose(self.texts.save_last)
        alert = program.alert(self.texts.not_recording)
        self.assertEqual(alert.text, self.not_recording)
        self.assertEqual(alert.buttons, ["OK"])
        alert.press("OK")
        self.assertEqual(program.clips(), [])

    def testTheConfirmationNamesTheClip(self):
        program = self.pellaro().start()
        self.show_clock()
        program.start_recording()
        self.let_time_pass(1)
        program.left_click()
        alert = program.alert(self.texts.saved)
        [path] = program.clips()
        self.assertEqual(alert.text, self.saved.format(path=path))
        self.assertEqual(alert.buttons, self.saved_buttons)
        alert.press("OK")

    def testAFolderThatCannotBeMadeIsNamed(self):
        (self.desktop.home / "file").write_text("not a folder")
        folder = self.desktop.home / "file/below/it"
        program = self.pellaro(folder=folder).start()
        self.show_clock()
        program.start_recording()
        self.let_time_pass(1)
        program.left_click()
        alert = program.alert(self.texts.folder_unavailable)
        beginning = self.folder.format(path=folder)
        self.assertEqual(alert.text[:len(beginning)], beginning)
        self.assertGreater(len(alert.text), len(beginning), "the system's description is missing")
        self.assertEqual(alert.buttons, self.folder_buttons)
        alert.press("OK")
        # The recording goes on: the next click tries again.
        program.left_click()
        program.alert(self.texts.folder_unavailable).press("OK")


class InGerman(InEnglish):
    language = "de_DE.UTF-8"
    texts = GERMAN
    welcome = ("Pellaro läuft\n"
               "Oben in der Menüleiste siehst du ein großes „P\".\n\n"
               "• Pellaro.app muss in „Programme\" liegen (nicht in Downloads).\n"
               "• Start immer per Rechtsklick → Öffnen → Trotzdem öffnen (Doppelklick reicht nicht).\n\n"
               "Als Nächstes: „P\" anklicken → „Aufnahme starten\".")
    not_recording = ("Aufnahme läuft nicht\n"
                     "Es steht „P\" in der Menüleiste, aber es wird noch nicht aufgezeichnet.\n\n"
                     "1. Auf „P\" klicken → „Aufnahme starten\"\n"
                     "2. Bildschirmaufnahme erlauben (Systemeinstellungen)\n"
                     "3. Pellaro beenden und neu starten\n"
                     "4. Warten, bis der Kreis ausgefüllt ist — dann speichern")
    saved = "Gespeichert!\nDie Aufnahme wurde gespeichert unter:\n{path}"
    saved_buttons = ["OK", "Im Finder zeigen"]
    folder = ("Speicherordner nicht erreichbar\n"
              "Der Ordner „{path}\" konnte nicht erstellt oder geöffnet werden.\n\n"
              "Mögliche Ursachen:\n"
              "• Kein Schreibrecht für diesen Ordner\n"
              "• Externes Laufwerk oder iCloud Drive nicht verfügbar\n"
              "• Ungültiger Pfad\n\n"
              "Wähle in den Einstellungen einen anderen Speicherort.\n\n"
              "Technisch: ")
    folder_buttons = ["Einstellungen öffnen", "OK"]
    idle_tip = "Pellaro – Pausiert  (Rechtsklick: Menü)"
    recording_tip = "Pellaro – Zeichnet auf  (Links: Speichern  |  Rechts: Menü)"
