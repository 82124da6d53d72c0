#!/usr/bin/env python3
"""Hostile inputs. Each row of the table in docs/robustness.md is a case here, and its memory the limit.
Argument: the program as it is shipped, since sanitizers take memory and time of their own."""
import os
import random
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import time
import unittest

from desk import Desk

PROGRAM = os.path.abspath(sys.argv.pop(1))
PAGE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "docs", "robustness.md")
SECONDS = 60  # far above what any case takes
# Starts a program from a small process, whose own memory does not count; leaves the peak in bytes.
MEASURE = """import resource, subprocess, sys
status = subprocess.call(sys.argv[3:], timeout=int(sys.argv[2]))
with open(sys.argv[1], "w") as file:
    file.write(str(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss * 1024))
sys.exit(status if status >= 0 else 128)
"""
DATABASE = "#addcmmd walk 5\n#addparm 0\n#addparm 0\n#addcmmd jump 6\n#addparm 3\n#addcmmd stop 7\n#addparm 4\n"


def text(content):
    return struct.pack("<HH", 8, len(content)) + content


def record(buffer, offset, mode, name):
    return struct.pack("<BiH", buffer, offset, mode) + text(name)


def buffer_file(pointers, labels, contents):
    """All lists hold bytes; the labels are those of buffer 0."""
    return (text(b"Tidewright") + text(b"NO COMMENT") + struct.pack("<H", len(pointers)) + b"".join(pointers) +
            struct.pack("<H", len(labels)) + b"".join(labels) + bytes(30) + b"".join(contents))


WHOLE = buffer_file([record(0, 1, 3, b"$b")], [record(0, 0, 3, b"a"), record(0, 5, 3, b"b")], [b"\0" + text(b"\6!PTR\7")])


def checksum(journal):
    value = 0xCBF29CE484222325
    for byte in journal:
        value = (value ^ byte) * 0x100000001B3 & 0xFFFFFFFFFFFFFFFF
    return value


class Hostile(Desk):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="tidewright hostile ")
        self.addCleanup(shutil.rmtree, self.folder)

    def start(self, line, stdin=os.devnull):
        """Runs the program; gives its status and the last of its output, and keeps its peak of memory."""
        command = [PROGRAM, "--log-folder", os.path.join(self.folder, "log")] + ([line] if line else [])
        usage = os.path.join(self.folder, "usage")
        with open(os.path.join(self.folder, stdin), "rb") as source, tempfile.TemporaryFile() as output:
            ended = subprocess.run([sys.executable, "-S", "-c", MEASURE, usage, str(SECONDS), *command], cwd=self.folder,
                                   stdin=source, stdout=output, stderr=output, check=False)
            output.seek(max(0, output.seek(0, os.SEEK_END) - 100000))
            out = output.read().decode(errors="replace")
        self.assertIn(ended.returncode, (0, 1), out[-2000:])
        with open(usage, encoding="ascii") as file:
            self.peak = max(self.peak, int(file.read()))
        return ended.returncode, out

    def wants(self, line, status, *words, **more):
        ended, out = self.start(line, **more)
        self.assertEqual(ended, status, out[-2000:])
        for word in words:
            self.assertTrue(re.search(word, out), f"no {word} in {out[-2000:]}")
        return out

    def lines(self, content, status, *words, behind=""):
        self.write("main.psc", content)
        return self.wants("#include main.psc" + behind, status, *words)

    def comes_back(self, database, script, wanted):
        """What is compiled and decoded again is `wanted`."""
        self.lines(database + "#do\n#org x\n" + script, 0, behind="; #kapoke made.buf; #decode made.buf")
        self.assertEqual(self.read("made.psc").decode().replace("\r", "").split("#ORG x 0\n")[1].strip(), wanted)

    # ---- one case for each row ----

    def endless_file(self):
        with open(os.path.join(self.folder, "endless.psc"), "wb") as file:
            file.truncate(1 << 30)
        self.wants("#include endless.psc", 1, "endless.psc:1: error 6: Overflow: a line of more than 1048576 bytes")

    def endless_input(self):
        self.write("in", b"// first\n" + b"x" * 3000000 + b"\n// last\n")
        out = self.wants("", 1, "first", "error 6", stdin="in")
        self.assertNotIn("last", out)
        self.wants("", 1, "error 6", stdin="/dev/zero")

    def longest_line(self):
        line = b"//" + b"x" * ((1 << 20) - 2) + b"\r\n"
        self.write("main.psc", line + b"// last\n")
        self.wants("#include main.psc", 0, "last")
        self.wants("", 0, "last", stdin="main.psc")

    def statements(self):
        self.lines("#kapow" + ";" * 1000000 + "#kapow\n", 1, "main.psc:1: error 9.* at most sixteen statements")

    def nul_bytes(self):
        self.lines(b"wa\0lk 1\0 2\n#org a\0b 0\n=t\0x\n\0\0\n#include a\0b\n", 1, "Invalid Command : wa\\^@lk", "main.psc:5: error 57")

    def own_include(self):
        self.lines("#include main.psc\n", 1, "main.psc:1: error 9.*, in \"#include main.psc\"")

    def labels(self):
        self.lines("".join(f"#org l{i} {i % 16}\n" for i in range(1000000)), 0, "#OFFSET: l999999, 15")

    def define_loop(self):
        self.lines("#define a b\n#define b c\n#define c a\n", 1, "main.psc:3: error 5.* would stand for itself")

    def alias_loop(self):
        self.lines("#alias go\n#addparm 7 gone\n#alias gone\n#addparm 7 go\n#do\ngo\n", 1, "Invald Command :", "comes back to itself")

    def commands(self):
        base = "".join(f"#addcmmd c{i} {i % 256}\n#addparm 0\n" for i in range(65536))
        self.comes_back(base, "c65535 3\nc65280 4\n", "c255 0x03\nc0 0x04")

    def alias_chain(self):
        chain = "#alias p0\n#addparm 7 walk\n" + "".join(f"#alias p{i}\n#addparm 7 p{i - 1}\n" for i in range(1, 1000))
        self.comes_back(DATABASE + chain, "p999 1 2\n" * 9, "\n".join(["p0 0x01 0x02"] * 9))

    def aliases(self):
        many = "".join(f"#alias p{i} $1\n#addparm 7 walk\n#addparm 6 {i % 250}\n#addparm 0\n" for i in range(4000))
        self.comes_back(DATABASE + many, "walk 249 1\n" * 2000, "\n".join(["p249 0x01"] * 2000))

    def one_code(self):
        base = "".join(f"#addcmmd c{i} 5\n#addparm 6 &h{i:04x}\n" for i in range(4000))
        lines = "\n".join(f"c{i}" for i in range(4000))
        self.comes_back(base, lines + "\n", lines)

    def near_pointers(self):
        code = b"".join(b"\6" + struct.pack("<I", 0x08000010 + i) for i in range(33000))
        self.write("game.bin", bytes(16) + code + b"\7")
        self.write("main.psc", DATABASE + "#do\n")
        self.wants("#include main.psc; #rawdecode game.bin 0x10 3", 1, "error 6")
        self.assertFalse(os.path.exists(os.path.join(self.folder, "game10.psc")))

    def random_image(self):
        self.write("game.bin", random.Random(1).randbytes(1 << 20))
        for offset in range(1, 60, 7):
            self.lines(DATABASE, 0, behind=f"; #rawdecode game.bin {offset} 3")
        self.assertIn(b"begins no command", self.read("game1.psc"))

    def random_scripts(self):
        for seed in range(5):
            self.lines(random.Random(seed).randbytes(100000), 1)

    def random_buffers(self):
        self.write("wild.buf", random.Random(1).randbytes(100000))
        self.wants("#kapeek wild.buf", 1, "NOT A Tidewright Buffer file!")

    def cut_buffers(self):
        sizes = range(14, len(WHOLE))
        for size in sizes:
            self.write(f"{size}.buf", WHOLE[:size])
        self.write("in", "".join(f"#kapeek {size}.buf\n#kableewy\n" for size in sizes))
        out = self.wants("", 1, stdin="in")
        told = re.findall(r"^error 62: .*? at byte \d+ of (\d+).buf", out, re.M)
        # One cut stands between two fields: the file is whole, without its last section.
        self.assertEqual(told, [str(size) for size in sizes if size != len(WHOLE) - 11])

    def wild_buffers(self):
        label = record(0, 0, 3, b"a")
        for content, error in (
                (WHOLE[:28] + b"\xFF\xFF" + WHOLE[30:], 6),  # a negative count,
                (WHOLE[:28] + b"\xFF\x7F" + WHOLE[30:], 13),  # and one beyond the file
                (WHOLE.replace(b"\6!PTR\7", b"")[:-2] + b"\xFF\x7F", 62),
                (WHOLE.replace(b"\6!PTR\7", b"")[:-2] + b"\xFF\xFF", 6),
                (buffer_file([record(17, 0, 3, b"a")], [], []), 9),
                (buffer_file([record(0, 1 << 30, 3, b"a")], [], []), 9),
                (buffer_file([], [record(0, -1, 3, b"a")], []), 9),
                (buffer_file([], [label, label], []), 457),
                (buffer_file([], [record(0, 0, 3, b"a;#exit")], []), 13),
                (buffer_file([], [], [b"\x11" + text(b"x")]), 9)):
            self.write("wild.buf", content)
            self.wants("#org kept; #kapeek wild.buf; #kapoke made.buf", 1, f"error {error}: .* at byte [0-9]* of wild.buf")

    def wild_journals(self):
        self.write("game.bin", b"." * 60)
        self.lines("#org a.0x10 0\n#01 02\n#org b.0x3a 1\n#03 04 05 06\n", 0, behind="; #kapop game.bin")
        journal, chance = self.read("game.bin.burn"), random.Random(1)
        for number in range(60):
            wild = bytearray(journal[:-8])
            for _ in range(chance.randint(1, 3)):
                wild[chance.randrange(8, len(wild))] = chance.choice((0, 1, 127, 128, 255))
            right = number % 3 > 0
            self.write("game.bin", b"." * 60)
            self.write("game.bin.burning", bytes(wild) + struct.pack("<Q", checksum(wild) if right else 1))
            ended, out = self.start("#kapop game.bin")
            if not right:
                self.assertIn("was cut short before it wrote anything", out)
                self.assertEqual((ended, self.read("game.bin")), (0, b"." * 60))
            self.assertLessEqual(os.path.getsize(os.path.join(self.folder, "game.bin")), 62)

    def folders(self):
        os.mkdir(os.path.join(self.folder, "game.bin"))
        self.wants("#include game.bin", 1, "File Not Found")
        self.wants("#org a.0x1; 77; #kapop game.bin", 1)

    def pipes(self):
        os.mkfifo(os.path.join(self.folder, "pipe"))
        for name in ("pipe", "/dev/zero"):
            for line in ("#include", "#kapeek", "#org a.0x1; #77; #kapop"):
                self.wants(f"{line} {name}", 1, f"error 75: .*{name} \\(not a file but a device or a pipe\\)")

    def own_image(self):
        script = "#org a.0x0; #77\n#kapop main.psc\n"
        self.lines(script, 1, "main.psc:2: error 55")
        self.assertEqual(self.read("main.psc"), script.encode())

    CASES = {
        "a file of 1 GiB without a line end, as a script": endless_file,
        "the same as standard input": endless_input,
        "a line of 1 MiB": longest_line,
        "a million `;` in a line": statements,
        "NUL bytes": nul_bytes,
        "a script that includes itself": own_include,
        "a million labels": labels,
        "a loop of defines": define_loop,
        "a loop of aliases": alias_loop,
        "a database of 65,536 commands": commands,
        "a chain of 1,000 aliases": alias_chain,
        "4,000 aliases of one command": aliases,
        "4,000 commands of one byte code": one_code,
        "an image of 33,000 pointers, one byte apart": near_pointers,
        "random bytes as an image": random_image,
        "random bytes as a script or a database": random_scripts,
        "random bytes as a buffer file": random_buffers,
        "a buffer file cut at any byte": cut_buffers,
        "a buffer file with wild counts, lengths or places": wild_buffers,
        "a damaged journal of a burn": wild_journals,
        "a folder in the place of a file": folders,
        "a pipe or a device in the place of a file": pipes,
        "an image that is the script that burns it": own_image,
    }

    def test_the_table_of_the_page(self):
        with open(PAGE, encoding="utf-8") as file:
            limits = dict(re.findall(r"^\| (.*?) \|.*\| (\d+) MB \|$", file.read(), re.M))
        self.assertEqual(limits.keys(), self.CASES.keys())
        for name, case in self.CASES.items():
            with self.subTest(name):
                self.peak = 0
                start = time.monotonic()
                self.setUp()
                case(self)
                print(f"{name}: {self.peak >> 20} MB, {time.monotonic() - start:.1f} s")
                self.assertLess(self.peak, int(limits[name]) << 20)


if __name__ == "__main__":
    unittest.main()
