#!/usr/bin/env python3
"""The Windows program's window as a person has it: under Wine, on a display and in a prefix of its own, seen and
handled through probe.exe, judged by what its box holds, its session log and its files. Arguments: tidewright.exe,
probe.exe."""
import os
import select
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

PROBE = os.path.abspath(sys.argv.pop(2))
PROGRAM = os.path.abspath(sys.argv.pop(1))
CAPTION = "(LOG) Instant"
BANNER = "WELCOME TO TIDEWRIGHT\r\n"
OPEN, SAVE = "Open file ....", "Save file ...."  # the captions of the system's boxes
DATABASE = "#addcmmd walk 5\n#addparm 0\n#addcmmd jump 6\n#addparm 3\n#do\n"
PATIENCE = 30  # seconds for what takes well under one

WM_CLOSE, WM_KEYDOWN, WM_CHAR, WM_COMMAND = 0x10, 0x100, 0x102, 0x111
BM_CLICK, EM_GETSEL, EM_SETSEL = 0xF5, 0xB0, 0xB1
SW_MINIMIZE = 6
BACKSPACE, RETURN = 8, 13
IDOK, IDCANCEL, IDYES, IDNO = 1, 2, 6, 7
MENU_DATABASE, MENU_DECODE, MENU_ENCODE, MENU_SOURCE, MENU_EXIT, MENU_SELECT_ALL, MENU_HELP = range(101, 108)


def escaped(text):
    for plain, code in (("\\", "\\\\"), ("\t", "\\t"), ("\n", "\\n"), ("\r", "\\r")):
        text = text.replace(plain, code)
    return text


def plain(text):
    parts = text.split("\\\\")
    return "\\".join(part.replace("\\t", "\t").replace("\\n", "\n").replace("\\r", "\r") for part in parts)


class Desktop:
    """A display, a Wine prefix with a desktop on it, and the probe there. Everything ends with it."""

    def __init__(self):
        self.root = tempfile.mkdtemp(prefix="tidewright-window-")
        self.processes = []
        self.probe = None
        try:
            self.display = self.open_display()
            self.prefix = os.path.join(self.root, "prefix")
            self.environment = dict(os.environ, WINEPREFIX=self.prefix, DISPLAY=self.display, WINEDEBUG="-all",
                                    WINEDLLOVERRIDES="mscoree,mshtml=")
            self.run("wineboot", "-i")
            desktops = "HKCU\\Software\\Wine\\Explorer"
            self.run("wine", "reg", "add", desktops, "/v", "Desktop", "/d", "tests", "/f")
            self.run("wine", "reg", "add", desktops + "\\Desktops", "/v", "tests", "/d", "1024x768", "/f")
            self.probe = self.open("wine", PROBE, stdin=subprocess.PIPE)
        except BaseException:
            self.end()
            raise

    def open(self, *command, **more):
        process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                   env=getattr(self, "environment", None), **more)
        self.processes.append(process)
        return process

    def open_display(self):
        server = self.open("Xvfb", "-displayfd", "1", "-screen", "0", "1024x768x24", "-nolisten", "tcp")
        if not select.select([server.stdout], [], [], PATIENCE)[0]:
            raise RuntimeError("no display")
        return ":" + server.stdout.readline().decode().strip()

    def run(self, *command):
        """A program to its end; what it printed."""
        return subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                              check=True, env=self.environment, timeout=120).stdout.decode("latin-1")

    def ask(self, *fields):
        line = "\t".join(escaped(str(field)) for field in fields) + "\n"
        self.probe.stdin.write(line.encode("latin-1"))
        self.probe.stdin.flush()
        answer = b""
        while not answer.endswith(b"\n"):
            if not select.select([self.probe.stdout], [], [], PATIENCE)[0]:
                raise RuntimeError(f"the probe does not answer: {fields}")
            more = os.read(self.probe.stdout.fileno(), 65536)
            if not more:
                raise RuntimeError(f"the probe has ended: {fields}")
            answer += more
        return [plain(field) for field in answer.decode("latin-1").rstrip("\r\n").split("\t")]

    def end(self):
        if hasattr(self, "environment"):
            subprocess.run(["wineserver", "-k"], env=self.environment, timeout=60, check=False)
            subprocess.run(["wineserver", "-w"], env=self.environment, timeout=60, check=False)
        for process in reversed(self.processes):
            process.kill()
            process.wait()
            for stream in (process.stdin, process.stdout):
                if stream:
                    stream.close()
        shutil.rmtree(self.root, ignore_errors=True)


class WindowCase(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.desktop = Desktop()
        cls.addClassCleanup(cls.desktop.end)
        cls.games = 0

    def setUp(self):
        type(self).games += 1
        name = f"a game {self.games}"
        self.folder = os.path.join(self.desktop.prefix, "drive_c", name)
        self.windows_folder = "C:\\" + name
        os.mkdir(self.folder)
        shutil.copy(PROGRAM, self.folder)
        self.write("base/includes.psh", DATABASE)
        self.write("game.bin", bytes(64))
        self.addCleanup(self.ask, "kill")

    # The folder.

    def write(self, name, content):
        path = os.path.join(self.folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode("latin-1"))

    def read(self, name):
        with open(os.path.join(self.folder, name), "rb") as file:
            return file.read()

    def log(self):
        """All the folder's sessions, in their order."""
        folder = os.path.join(self.folder, "log")
        names = sorted(os.listdir(folder)) if os.path.isdir(folder) else []
        return "".join(self.read(os.path.join("log", name)).decode("latin-1") for name in names)

    # The desktop.

    def ask(self, *fields):
        return self.desktop.ask(*fields)

    def until(self, holds, what, seconds=PATIENCE):
        end = time.monotonic() + seconds
        while True:
            result = holds()
            if result:
                return result
            if time.monotonic() > end:
                self.fail(f"never: {what}; the windows: {self.ask('list')}; the log: {self.log()[-1000:]!r}")
            time.sleep(0.02)

    def logged(self, text, times=1):
        self.until(lambda: self.log().count(text) >= times, f"{text!r} in the log")

    def windows(self, parent=0):
        fields = self.ask("list", parent)[:-1]
        return [fields[i:i + 4] for i in range(0, len(fields), 4)]

    def dialog(self, caption):
        found = self.until(lambda: [one for one in self.windows() if one[3] == caption], f"the box {caption!r}")
        return found[0][0]

    def texts(self, parent):
        return [one[3] for one in self.windows(parent)]

    def press(self, dialog, number):
        """A button of a box, which then goes."""
        self.ask("post", self.button(dialog, number), BM_CLICK, 0, 0)
        self.gone(dialog)

    def button(self, dialog, number):
        found = self.until(lambda: [one for one in self.windows(dialog) if one[1:3] == [str(number), "Button"]],
                           f"the button {number}")
        return found[0][0]

    def gone(self, dialog):
        self.until(lambda: "visible" not in self.ask("state", dialog)[0], "the box gone")

    def choose_file(self, caption, name, asks=False):
        """Names a file in the system's box, and agrees when that asks whether to replace it."""
        dialog = self.dialog(caption)
        box = self.until(lambda: [one for one in self.windows(dialog) if one[2] == "Edit"], "the box of the name")[0][0]
        self.until(lambda: self.ask("set", box, name) and self.ask("text", box) == [name], "the name set")
        self.ask("post", self.button(dialog, IDOK), BM_CLICK, 0, 0)
        if asks:
            question = self.until(lambda: [one for one in self.windows() if one[3] == caption and one[0] != dialog],
                                  "the question")[0][0]
            self.press(question, IDYES)
        self.gone(dialog)

    # The program.

    def begin(self, line="", exe="tidewright.exe"):
        """Starts the program, by its command line as it is typed. Its process."""
        process = self.ask("start", self.windows_folder, f'"{self.windows_folder}\\{exe}" {line}')[0]
        self.assertTrue(process.isdigit(), process)
        return process

    def open(self, line=""):
        """Starts the program and waits for its window; without a line, also for the banner, which #boot would clear."""
        self.process = self.begin(line)
        self.frame = self.until(lambda: [one for one in self.windows() if one[3].startswith(CAPTION)], "the window")[0][0]
        self.box = self.ask("child", self.frame, "EDIT")[0]
        if not line:
            self.until(lambda: self.text().startswith(BANNER), "the banner")

    def text(self):
        return self.ask("text", self.box)[0]

    def caret(self):
        selection = int(self.ask("send", self.box, EM_GETSEL, 0, 0)[0])
        self.assertEqual(selection & 0xFFFF, selection >> 16, "something is selected")
        return selection & 0xFFFF

    def set_caret(self, position):
        self.ask("send", self.box, EM_SETSEL, position, position)

    def enter(self):
        self.ask("post", self.box, WM_KEYDOWN, RETURN, 0x1C0001)

    def type(self, line):
        """A line, key by key, and Enter. Like all keys, these wait while lines run."""
        for character in line:
            self.ask("post", self.box, WM_CHAR, ord(character), 1)
        self.enter()

    def at_rest(self):
        """Waits until no line runs, which is when keys arrive."""
        self.ask("post", self.box, WM_CHAR, ord("~"), 1)
        self.until(lambda: self.text().endswith("~"), "a key taken")
        self.ask("post", self.box, WM_CHAR, BACKSPACE, 1)
        self.until(lambda: not self.text().endswith("~"), "a key taken")

    def menu(self, number):
        self.ask("post", self.frame, WM_COMMAND, number, 0)

    def ended(self, process=None):
        """The exit code, once there is one."""
        code = self.ask("ended", process or self.process, PATIENCE * 1000 // 2)[0]
        self.assertNotEqual(code, "runs")
        return int(code)


class Console(WindowCase):
    """The box: what it holds, and which line runs."""

    def test_the_start(self):
        self.open()
        text = self.text()
        self.assertEqual(text.count("\r\n"), 3)
        self.assertEqual(self.caret(), len(text))
        self.assertEqual(self.ask("focus", self.frame)[0], self.box)
        self.assertEqual(self.ask("state", self.frame), ["visible front "])

    def test_a_typed_line_runs(self):
        self.open()
        before = self.text()
        self.type("#whoami")
        self.logged("Tidewright ")
        self.at_rest()
        self.assertIn("\r\nTidewright ", self.text())
        self.assertTrue(self.text().startswith(before + "#whoami"))
        self.assertEqual(self.caret(), len(self.text()))

    def test_keys_reach_the_console_and_the_menu(self):
        self.open()
        for word in ("// from the keyboard", "// and again"):
            self.keyboard("type", "--delay", "15", word)
            self.keyboard("key", "Return")
            self.logged(word[2:])
        self.keyboard("key", "alt+f")
        self.until(lambda: self.ask("focus", self.frame)[1] == "menu", "the menu open")
        self.keyboard("key", "x")
        self.assertEqual(self.ended(), 0)

    def keyboard(self, *arguments):
        subprocess.run(["xdotool", *arguments], env=self.desktop.environment, timeout=60, check=True)

    def test_enter_on_an_earlier_line_runs_it_again(self):
        self.open()
        self.type("// first")
        self.logged(" first")
        self.type("// second")
        self.logged(" second")
        self.at_rest()
        line = self.text().index("// first")
        for count, inside in ((2, 0), (3, 4), (4, len("// first"))):
            self.set_caret(line + inside)
            self.enter()
            self.logged(" first", count)
            self.at_rest()
            self.assertEqual(self.caret(), len(self.text()))
        self.assertEqual(self.log().count(" second"), 1)

    def test_enter_in_an_empty_box_does_nothing(self):
        self.open()
        self.ask("set", self.box, "")
        self.enter()
        self.type("// after")
        self.logged(" after")
        self.assertNotIn("Invalid", self.log())

    def test_all_is_selected(self):
        self.open()
        self.menu(MENU_SELECT_ALL)
        whole = len(self.text()) << 16
        self.until(lambda: int(self.ask("send", self.box, EM_GETSEL, 0, 0)[0]) == whole, "all selected")

    def test_nothing_ends_the_text(self):
        self.write("odd.psc", b"// a\x00b\x01c\n// behind\n")
        self.open("#include odd.psc")
        self.until(lambda: " behind" in self.text(), "the text behind a zero byte")
        self.assertIn("a\xB7b\xB7c", self.text())
        self.assertIn("a\x00b\x01c", self.log())

    def test_silent(self):
        self.open("#silent on; // unseen")
        self.logged(" unseen")
        self.until(lambda: "visible" not in self.ask("state", self.frame)[0], "the window hidden")
        self.assertNotIn("unseen", self.text())
        self.assertEqual(self.ended(self.begin("#silent off; // seen")), 0)
        self.until(lambda: "visible" in self.ask("state", self.frame)[0] and " seen" in self.text(), "the window shown")

    def test_the_end(self):
        for way in (lambda: self.type("#exit"), lambda: self.menu(MENU_EXIT),
                    lambda: self.ask("post", self.frame, WM_CLOSE, 0, 0)):
            self.open()
            self.type("// before")
            way()
            self.assertEqual(self.ended(), 0)
            self.assertIn(" before", self.log())


class Starts(WindowCase):
    """Command lines, and the one window for all of them."""

    def test_a_start_with_a_line(self):
        self.write("My Script.psc", "#org a.0x20; walk 1\n")
        self.write("My Game.bin", bytes(48))
        self.open('#boot ;#include "my script.psc"; #kapop "My Game.bin"; // done')
        self.logged(" done")
        self.assertEqual(self.read("My Game.bin"), bytes(32) + b"\x05\x01" + bytes(14))

    def test_a_line_typed_behind_one_that_was_handed_over(self):
        self.open("// handed over")
        self.logged(" handed over")
        self.type("// typed")
        self.logged(" typed")
        self.assertNotIn("Invalid", self.log())

    def test_a_second_start_hands_its_line_over(self):
        self.open()
        for state in ("as it is", "minimised"):
            if state == "minimised":
                self.ask("show", self.frame, SW_MINIMIZE)
                self.until(lambda: "iconic" in self.ask("state", self.frame)[0], "the window minimised")
            with self.subTest(state=state):
                self.assertEqual(self.ended(self.begin(f'// handed over "{state}"')), 0)
                self.logged(f' handed over "{state}"')
                self.until(lambda: self.ask("state", self.frame) == ["visible front "], "the window in front")
        self.assertEqual(self.ask("ended", self.process, 0), ["runs"])

    def test_a_second_start_without_a_line(self):
        self.open()
        before = self.text()
        self.ask("show", self.frame, SW_MINIMIZE)
        self.assertEqual(self.ended(self.begin()), 0)
        self.until(lambda: self.ask("state", self.frame) == ["visible front "], "the window in front")
        self.assertEqual(self.text(), before)

    def test_bad_blocks_do_no_harm(self):
        self.open()
        for size, content in ((0, ""), (0, "// x"), (8, ""), (7, "// odd"), (65538, "// much"), (1 << 20, "// more")):
            with self.subTest(size=size, content=content):
                self.assertEqual(self.ask("copy", self.frame, size, content), ["0"])
        self.assertEqual(self.ask("copy", self.frame, 14, "// good"), ["1"])
        self.logged(" good")
        self.assertNotRegex(self.log(), "odd|much|more|Invalid")

    def test_a_start_whose_log_cannot_be_made(self):
        self.write("log", b"a file")
        process = self.begin()
        box = self.dialog("CRITICAL ERROR")
        self.assertTrue([text for text in self.texts(box) if self.windows_folder + "\\log" in text], self.texts(box))
        self.press(box, IDOK)
        self.assertNotEqual(self.ended(process), 0)


class Runs(WindowCase):
    """What happens while lines run."""

    def write_long(self, lines):
        self.write("long.psc", "#boot\n" + "walk 1\n" * lines + "// the last line\n")

    def test_a_line_handed_over_meanwhile_comes_behind(self):
        self.write("asks.psc", "#rawdecode asks.psc 1\n// the last line\n")
        self.open("#include asks.psc")
        box = self.dialog("Insufficient Data")  # the run waits for it
        for line in ("// meanwhile 0", "// meanwhile 1"):
            self.assertEqual(self.ask("copy", self.frame, 2 * len(line), line), ["1"])
        self.assertNotIn("meanwhile", self.text())
        self.press(box, IDCANCEL)
        self.until(lambda: " meanwhile 1" in self.text(), "the second line")
        order = [self.text().index(text) for text in (" the last line", " meanwhile 0", " meanwhile 1")]
        self.assertEqual(order, sorted(order))

    def test_closing_ends_a_run(self):
        self.write_long(8000000)  # many times longer than it takes to see and close it
        self.open("#include long.psc")
        self.until(lambda: "walk" in self.text(), "progress shown")
        self.until(lambda: self.ask("text", self.frame)[0].startswith(CAPTION + " - long.psc:"), "progress in the caption")
        self.assertEqual(self.ended(self.begin()), 0)  # another start finds the window all the same
        self.ask("post", self.frame, WM_CLOSE, 0, 0)
        self.assertEqual(self.ended(), 0)
        log = self.log()
        self.assertFalse("the last line" in log, "the run went on to its end")
        self.assertTrue("Code Command - walk" in log)


class Boxes(WindowCase):
    """Boxes of the program, and the menus through theirs."""

    def test_a_crash_on_purpose(self):
        self.open()
        self.type("#kapow")
        box = self.dialog("CRITICAL ERROR")
        self.assertIn("User Caused Crash: line 0", self.texts(box))
        self.press(box, IDOK)
        self.type("// still there")
        self.logged(" still there")

    def test_a_floating_pointer_is_asked_for(self):
        self.open()
        self.type("#boot; #org a.0x10; jump later; #kapop game.bin; // burned")
        box = self.until(lambda: [one for one in self.windows() if one[2] == "#32770"], "the input box")[0][0]
        self.assertIn("later", " ".join(self.texts(box)))
        reply = [one for one in self.windows(box) if one[2] == "Edit"][0][0]
        self.assertEqual(self.ask("focus", box)[0], reply)
        self.ask("set", reply, "0x20")
        self.press(box, IDOK)
        self.logged(" burned")
        self.assertEqual(self.read("game.bin")[0x10:0x15], bytes.fromhex("0620000008"))

    def test_an_existing_script_is_asked_about(self):
        self.open()
        self.type("#boot; #org a.0x10; walk 1; #kapop game.bin; // burned")
        self.logged(" burned")
        self.write("game10.psc", "mine")
        for answer, kept in ((IDNO, True), (IDYES, False)):
            self.type(f"#rawdecode game.bin 0x10 3; // answered {answer}")
            box = self.dialog("Delete File")
            self.assertIn("File Exists. Delete?", self.texts(box))
            self.press(box, answer)
            self.logged(f" answered {answer}")
            self.at_rest()
            self.assertEqual(self.read("game10.psc") == b"mine", kept)
        self.assertIn(b"walk ", self.read("game10.psc"))

    def test_file_types_are_registered_and_taken_back(self):
        def default(key):
            try:
                return self.desktop.run("wine", "reg", "query", "HKCU\\Software\\Classes\\" + key, "/ve")
            except subprocess.CalledProcessError:
                return None

        self.open("#regext source; #register hut as script; // registered")
        self.logged(" registered")
        self.assertIn("Tidewright.source", default(".source"))
        self.assertIn(f'"{self.windows_folder}\\tidewright.exe" #boot ;#rawdecode "%1"',
                      default("Tidewright.source\\shell\\open\\command"))
        self.assertIn(" #boot ;#encode ", default("Tidewright.script\\shell\\open\\command"))
        self.assertIn("Tidewright.script", default(".hut"))
        self.type("#unregister hut; #unregister source; // taken back")
        self.logged(" taken back")
        self.assertIsNone(default(".source"))
        self.assertIsNone(default(".hut"))

    def test_the_database_menu(self):
        self.write("my base/includes.psh", "// my own base\n")
        self.open()
        self.menu(MENU_DATABASE)
        self.choose_file(OPEN, self.windows_folder + "\\my base\\includes.psh")
        self.logged(" my own base")
        shown = "Loaded Database " + self.windows_folder + "\\my base\\includes.psh"
        self.until(lambda: shown in self.text(), "the path shown")

    def test_the_manual_menu(self):
        self.open()
        self.menu(MENU_HELP)
        box = self.until(lambda: [one for one in self.windows() if one[2] == "#32770"], "the box")[0][0]
        self.assertIn("The manual is not there: " + self.windows_folder + "\\manual\\index.html", self.texts(box))
        self.press(box, IDOK)
        # Here it is a text that Notepad opens.
        self.desktop.run("wine", "reg", "add", "HKLM\\Software\\Classes\\.html", "/ve", "/d", "txtfile", "/f")
        self.write("manual/index.html", "the manual")
        self.menu(MENU_HELP)
        page = self.until(lambda: [one for one in self.windows() if "index" in one[3] and "Notepad" in one[3]], "Notepad")
        self.until(lambda: self.ask("state", page[0][0]) == ["visible front "], "the manual in front")

    def test_a_cancelled_menu_does_nothing(self):
        self.open()
        for number, caption in ((MENU_DATABASE, OPEN), (MENU_DECODE, OPEN), (MENU_ENCODE, SAVE), (MENU_SOURCE, OPEN)):
            with self.subTest(menu=number):
                self.menu(number)
                self.press(self.dialog(caption), IDCANCEL)
        self.type("// after")
        self.logged(" after")
        self.assertNotRegex(self.log(), "Invalid|CRITICAL|error")

    def test_script_to_buffers_and_back(self):
        self.write("one two.psc", "#org a.0x10 0\nwalk 7\n")
        self.open("#boot")
        self.menu(MENU_ENCODE)
        self.choose_file(SAVE, self.windows_folder + "\\one two.psc", asks=True)
        self.until(lambda: os.path.exists(os.path.join(self.folder, "one two.buf")), "the buffer file")
        os.remove(os.path.join(self.folder, "one two.psc"))
        self.menu(MENU_DECODE)
        self.choose_file(OPEN, self.windows_folder + "\\one two.buf")
        self.until(lambda: os.path.exists(os.path.join(self.folder, "one two.psc")), "the script")
        self.assertIn(b"walk ", self.read("one two.psc"))

    def test_an_image_to_a_script_in_notepad(self):
        self.write("my game.bin", "0123456789ABCDEF\x05\x07")
        self.open("#boot")
        self.menu(MENU_SOURCE)
        self.choose_file(OPEN, self.windows_folder + "\\my game.bin")
        for answer in ("0x10", "3"):
            box = self.dialog("Insufficient Data")
            self.ask("set", [one for one in self.windows(box) if one[2] == "Edit"][0][0], answer)
            self.press(box, IDOK)
        self.until(lambda: os.path.exists(os.path.join(self.folder, "my game10.psc")), "the script")
        self.assertIn(b"walk &h07", self.read("my game10.psc"))
        self.until(lambda: [one for one in self.windows() if "my game10" in one[3] and "Notepad" in one[3]], "Notepad")


if __name__ == "__main__":
    unittest.main()
