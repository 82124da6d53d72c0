#!/usr/bin/env python3
"""The program as a build script starts it: options, streams, exit status, folders. Argument: the program."""
import os
import pty
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

from desk import Desk

PROGRAM = os.path.abspath(sys.argv.pop(1))
DATABASE = "#addcmmd walk 5\n#addparm 0\n#addcmmd jump 6\n#addparm 3\n#do\n"


class Terminal(Desk):
    def setUp(self):
        self.root = tempfile.mkdtemp(prefix="tidewright test ")
        self.addCleanup(shutil.rmtree, self.root)
        self.folder = os.path.join(self.root, "a game")
        os.makedirs(os.path.join(self.folder, "base"))
        self.write("base/includes.psh", DATABASE)
        self.write("game.bin", bytes(64))

    def start(self, *arguments, **more):
        """Runs the program in the game's folder; gives exit status, standard output and standard error."""
        command = [PROGRAM, "--log-folder", os.path.join(self.root, "log"), *arguments]
        more.setdefault("stdin", subprocess.DEVNULL if "input" not in more else None)
        if more["stdin"] is None:
            del more["stdin"]
        ended = subprocess.run(command, cwd=self.folder, capture_output=True, timeout=60, **more)
        return ended.returncode, ended.stdout.decode(), ended.stderr.decode()

    def log(self):
        folder = os.path.join(self.root, "log")
        names = os.listdir(folder)
        self.assertEqual(len(names), 1)
        with open(os.path.join(folder, names[0]), "rb") as file:
            return file.read()

    def test_a_line_compiles_and_burns(self):
        status, out, err = self.start("#boot;", "#kapush here 0x10;", "#org here; walk 7; jump here; #kapop game.bin")
        self.assertEqual((status, err), (0, ""))
        self.assertEqual(self.read("game.bin")[:0x20], bytes(16) + bytes.fromhex("0507 06 10000008") + bytes(9))
        self.assertIn(" - Adjusting here in 0 at 8000010\n", out)

    def test_standard_input_is_a_console(self):
        status, out, _ = self.start(input=b"#whoami\r\nfoo\n#whoami")
        self.assertEqual(status, 1)
        self.assertEqual(out.count("Tidewright "), 2)
        self.assertIn("Invalid Command : foo\n - console: no such command, in \"foo\"\n", out)

    def test_run_files_then_the_line_then_stay(self):
        self.write("one two.psc", "// first")
        self.write("3.psc", "// second")
        status, out, _ = self.start("-r", "one two.psc", "--run=3.psc", "-i", "// third", input=b"// fourth\n")
        self.assertEqual(status, 0)
        words = [line for line in out.splitlines() if line.strip() in ("first", "second", "third", "fourth")]
        self.assertEqual([word.strip() for word in words], ["first", "second", "third", "fourth"])

    def test_a_script_in_another_folder_runs_by_its_path(self):
        self.write("one two.psc", "// first")
        elsewhere = os.path.join(self.root, "elsewhere")
        os.mkdir(elsewhere)
        command = [PROGRAM, "--log-folder", os.path.join(self.root, "log"), "-r", os.path.join(self.folder, "one two.psc")]
        self.assertIn(b" first\n", subprocess.run(command, cwd=elsewhere, capture_output=True, timeout=60).stdout)

    def test_statuses_and_streams(self):
        cases = [
            (["#do"], 0, "", ""),
            (["--version"], 0, "tidewright ", ""),
            (["--nonsense"], 2, "", "unknown option --nonsense"),
            (["--run"], 2, "", "--run wants a value"),
            (["#kapow"], 1, "", "CRITICAL ERROR: User Caused Crash: line 0"),
            (["#addtext"], 1, "Cannot use spaces", "Notice: Text entry error line: 0"),
            (["#include nowhere.psc"], 1, " - There is no file nowhere.psc", "File Not Found or user cancel"),
            (["#boot; walk"], 1, "Invald Command :", ""),
            (["#regext buffer"], 0, " - File types are registered on Windows", ""),
            (["#exit"], 0, "", ""),
            (["nothing; #exit; #kapow"], 1, "Invalid Command : nothing", ""),
            (["-q", "#whoami"], 0, "", ""),
        ]
        for arguments, wanted, in_out, in_err in cases:
            with self.subTest(arguments=arguments):
                status, out, err = self.start(*arguments)
                self.assertEqual(status, wanted)
                self.assertIn(in_out, out)
                self.assertIn(in_err, err)
                if in_err == "":
                    self.assertEqual(err, "")
                if arguments[0] == "-q":
                    self.assertEqual(out, "")

    def test_an_error_names_file_line_and_statement_and_closes_all(self):
        self.write("inner.psc", "\n\nwalk 1\n#org x 99\n// not reached\n")
        self.write("outer.psc", "#boot\n#include inner.psc\n// not reached\n")
        status, out, err = self.start("-i", "#include outer.psc", input=b"#include base/includes.psh\n")
        self.assertEqual(status, 1)
        self.assertIn("CRITICAL ERROR: inner.psc:4, included from outer.psc:2: error 9: Subscript out of range: "
                      "buffer 99 cannot hold labels, in \"#org x 99\"\n", err)
        self.assertNotIn("not reached", out)
        self.assertIn("#PROCESS: base/includes.psh F:2 for Input", out.split("error 9")[1])

    def test_control_characters_are_made_visible_and_logged_as_they_are(self):
        status, out, _ = self.start("// a\x1b[31mb\x7f \u00e9 \u009b".encode() + b"\xff")
        self.assertEqual(status, 0)
        self.assertIn("a^[[31mb^? \u00e9 \\xC2\\x9B\\xFF\n", out)
        self.assertIn("a\x1b[31mb\x7f \u00e9 \u009b".encode() + b"\xff\r\n", self.log())

    def test_names_with_blanks_and_case(self):
        self.write("My Script.psc", "#org a.0x20; walk 1\n")
        self.write("My Game.bin", bytes(48))
        status, out, err = self.start('#boot Nowhere; #include "my script.psc"; #kapop "My Game.bin"')
        self.assertEqual(err, "File Not Found or user cancel\n")
        self.assertEqual(self.read("My Game.bin"), bytes(32) + b"\x05\x01" + bytes(14))
        status, out, err = self.start("#boot;#include BASE\\INCLUDES.PSH; #file game.bin; #kapop \"my gone.bin\"")
        self.assertEqual(status, 1)
        self.assertIn(' - There is no file "my gone.bin" in the current folder\n', out)
        self.assertEqual(self.read("game.bin"), bytes(64))  # never burned in the place of the file that was named

    def test_images_that_cannot_be_written_stay(self):
        self.write("full.bin", bytes(16))
        os.symlink("/dev/full", os.path.join(self.folder, "device.bin"))
        status, _, err = self.start("#boot; #org a.0x8; walk 1; #kapop device.bin")
        self.assertEqual(status, 1)
        os.chmod(os.path.join(self.folder, "full.bin"), 0o444)
        if os.getuid() != 0:
            status, _, err = self.start("#boot; #org a.0x8; walk 1; #kapop full.bin")
            self.assertEqual(status, 1)
            self.assertIn("Permission denied", err)
        self.assertEqual(self.read("full.bin"), bytes(16))

    def test_a_reader_that_goes_away_does_not_stop_a_burn(self):
        self.write("long.psc", "#boot\n#org a.0x20\n" + "walk 1\n" * 15000 + "#kapop game.bin\n")
        command = [PROGRAM, "--log-folder", os.path.join(self.root, "log"), "--run", "long.psc"]
        with subprocess.Popen(command, cwd=self.folder, stdout=subprocess.PIPE) as process:
            process.stdout.read(100)
            process.stdout.close()
            self.assertEqual(process.wait(60), 0)
        self.assertEqual(self.read("game.bin")[0x20:], b"\x05\x01" * 15000)

    def test_nothing_burns_where_it_should_not(self):
        os.mkdir(os.path.join(self.folder, "my backup"))
        self.write("my backup/game.bin", bytes(64))
        for line in ('#kapop "my backup/game.bin"', "#file gone/game.bin; #kapop", '#file game.bin; #file "no.bin"; #kapop',
                     "#file game.bin; #file gone/game.bin; #kapop"):
            with self.subTest(line=line):
                self.assertEqual(self.start("#boot; #org a.0x8; walk 1; " + line)[0], 1)
                self.assertEqual(self.read("game.bin") + self.read("my backup/game.bin"), bytes(128))
        self.write("self.psc", "#boot\n#org a.0x0\nwalk 1\n#kapop ../a game/./self.psc\n".replace("a game", "a%20game"))
        self.assertIn("error 55: File already open", self.start("-r", "self.psc", "#do")[2])
        # Closed standard streams give their numbers to no file.
        self.write("job.psc", "#boot\n#org a.0x10\njump 0x20\n#kapop game.bin\n")
        command = f'exec "{PROGRAM}" --log-folder "{self.root}/log" -r job.psc "#do" <&- >&- 2>&-'
        subprocess.run(["sh", "-c", command], cwd=self.folder, timeout=60, check=True)
        self.assertEqual(self.read("game.bin"), bytes(16) + bytes.fromhex("0620000008") + bytes(43))

    def test_names_that_a_line_would_change_reach_their_file(self):
        for name in ("my xfile.bin", "a #1.bin", "10x20.bin", "two  blanks.bin"):
            with self.subTest(name=name):
                self.write(name, bytes(16))
                self.assertEqual(self.start(f'#boot; #org a.0x8; walk 1; #kapop "{name}"')[0], 0)
                self.assertEqual(self.read(name), bytes(8) + b"\x05\x01" + bytes(6))
        self.write("g#1.bin", bytes(16))
        self.write("g0x1.bin", bytes(16))
        self.assertEqual(self.start("#boot; #org a.0x8; walk 1; #kapop g0x1.bin")[0], 1)  # either could be meant
        self.assertEqual(self.read("g#1.bin") + self.read("g0x1.bin"), bytes(32))

    def test_a_log_that_cannot_be_opened_is_told(self):
        self.write("file", b"")
        status, _, err = self.start("--log-folder", os.path.join(self.folder, "file", "log"), "#do")
        self.assertEqual(status, 1)
        self.assertIn("CRITICAL ERROR: The session log cannot be opened in ", err)

    def test_a_program_that_may_not_write_beside_itself_logs_in_the_state_folder(self):
        # As a package installs it: a link, the program and its base in one folder, a user who may not write there.
        os.makedirs(os.path.join(self.root, "lib", "base"))
        os.mkdir(os.path.join(self.root, "bin"))
        shutil.copy(PROGRAM, os.path.join(self.root, "lib", "tidewright"))
        os.symlink("../lib/tidewright", os.path.join(self.root, "bin", "tidewright"))
        with open(os.path.join(self.root, "lib", "base", "includes.psh"), "w", encoding="ascii") as file:
            file.write(DATABASE)
        somebody = {"user": 65534, "group": 65534, "extra_groups": []} if os.getuid() == 0 else {}
        os.chmod(self.root, 0o755)
        os.chmod(os.path.join(self.root, "lib"), 0o555)
        self.addCleanup(os.chmod, os.path.join(self.root, "lib"), 0o755)
        home = os.path.join(self.root, "home")
        file = os.path.join(self.folder, "game.bin")
        cases = [
            ({"XDG_STATE_HOME": home + "/new/state", "HOME": home}, [], "new/state/tidewright/log"),
            ({"HOME": home}, [], ".local/state/tidewright/log"),
            ({"XDG_STATE_HOME": "state", "HOME": home}, [], ".local/state/tidewright/log"),  # not a whole path
            ({"XDG_STATE_HOME": file, "HOME": home}, [], None),
            ({}, [], None),
            ({"HOME": home}, ["--log-folder", file + "/log"], None),  # what was asked for, or nothing
        ]
        for environment, options, wanted in cases:
            with self.subTest(environment=environment, options=options):
                os.mkdir(home)
                os.chmod(home, 0o777)
                ended = subprocess.run([os.path.join(self.root, "bin", "tidewright"), *options, "#boot; walk 1"], cwd=home,
                                       env=environment, capture_output=True, timeout=60, check=False, **somebody)
                logs = [folder for folder, _, names in os.walk(home) if any(name.endswith(".log") for name in names)]
                self.assertEqual(logs, [os.path.join(home, wanted)] if wanted else [])
                self.assertEqual(ended.returncode, 0 if wanted else 1, ended.stderr)
                self.assertEqual(b"The session log cannot be opened in " in ended.stderr, wanted is None)
                shutil.rmtree(home)

    def test_long_work_shows_on_a_terminal_how_far_it_is(self):
        lines = 20000
        while True:  # until it is long work for this machine
            self.write("long.psc", "#boot\n" + "walk 1\n" * lines + "// done\n")
            begun = time.monotonic()
            self.assertEqual(self.start("-q", "-r", "long.psc", "#do"), (0, "", ""))
            if time.monotonic() - begun > 2:
                break
            lines *= 2
        main, other = pty.openpty()
        command = [PROGRAM, "--log-folder", os.path.join(self.root, "shown"), "-q", "-r", "long.psc", "#do"]
        process = subprocess.Popen(command, cwd=self.folder, stdin=subprocess.DEVNULL, stderr=other)
        os.close(other)
        shown = b""
        try:
            while more := os.read(main, 65536):
                shown += more
        except OSError:
            pass  # the other end is closed
        os.close(main)
        self.assertEqual(process.wait(60), 0)
        self.assertRegex(shown, rb"long\.psc:\d+, \d+ of \d+ KB, \d+ messages")
        self.assertTrue(shown.endswith(b"\r\x1b[K"), "taken away at the end")

    def test_a_terminal_asks(self):
        main, other = pty.openpty()
        command = [PROGRAM, "--log-folder", os.path.join(self.root, "log")]
        process = subprocess.Popen(command, cwd=self.folder, stdin=other, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        os.write(main, b"#boot\n#org a.0x10; jump later; #kapop game.bin\n0x20\n#exit\n")
        out, err = process.communicate(timeout=60)
        os.close(main)
        os.close(other)
        self.assertEqual(process.returncode, 0)
        self.assertIn(b"WELCOME TO TIDEWRIGHT\n", out)
        self.assertIn(b"> ", err)
        self.assertIn(b"Floating Pointer must be pushed: Enter offset for later: ", err)
        self.assertEqual(self.read("game.bin")[0x10:0x15], bytes.fromhex("0620000008"))


if __name__ == "__main__":
    unittest.main()
