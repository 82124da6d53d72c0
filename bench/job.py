"""The job that bench/figures.py measures: up to 120,000 lines, the commands that compile and burn them, and those of
the GNU assembler chain that come to the same image.

One program is written three times: as scripts with a command database; as GNU assembler source, where each command
is a macro as the database is to tidewright; and as the same source with the macros expanded by hand.
"""

import os
import random
import shutil
import subprocess
import sys
import time

FILES = 16  # as many buffers: file n fills buffer n
LINES = 7500  # in each file
BLOCK = 10  # a label, seven commands, two commands with a pointer
ROOM = 0x8000  # of each buffer in the image
BASE = 0x08000000
RAW_SCRIPT = f"game{ROOM:X}.psc"

# Keyword, byte code, widths of the values. The second command with a pointer ends the block.
COMMANDS = [
    ("wait", 0x01, (2,)), ("walk", 0x05, (1, 1)), ("turn", 0x06, (1,)), ("face", 0x07, (1,)),
    ("setflag", 0x10, (2,)), ("clearflag", 0x11, (2,)), ("setvar", 0x12, (2, 2)), ("addvar", 0x13, (2, 2)),
    ("compare", 0x14, (2, 1)), ("sound", 0x20, (2,)), ("music", 0x21, (2,)), ("fade", 0x22, (1,)),
    ("show", 0x30, (1,)), ("hide", 0x31, (1,)), ("give", 0x32, (2, 1)), ("take", 0x33, (2, 1)),
]
CALL, LEAVE = ("callpart", 0x40), ("leaveto", 0x41)
DIRECTIVES = {1: ".byte", 2: ".short", 4: ".long"}


class Way:
    """Commands that run one after the other in a folder: what a figure is taken of."""

    def __init__(self, folder, commands, writes=(), empties=()):
        """Before each run the log and what the commands write is removed; `empties` are there, empty."""
        self.folder = folder
        self.commands = commands
        self.writes = writes
        self.empties = empties

    def prepare(self):
        shutil.rmtree(os.path.join(self.folder, "logs"), ignore_errors=True)
        for name in self.writes:
            if os.path.exists(os.path.join(self.folder, name)):
                os.remove(os.path.join(self.folder, name))
        for name in self.empties:
            open(os.path.join(self.folder, name), "wb").close()

    def seconds(self):
        self.prepare()
        start = time.perf_counter()
        for command in self.commands:
            subprocess.run(command, cwd=self.folder, check=True, stdin=subprocess.DEVNULL)
        return time.perf_counter() - start

    def peak(self):
        """Peak memory in bytes of the hungriest of the commands. Not asked of the timed runs: a child of Python would
        count what Python itself had in memory."""
        self.prepare()
        kibibytes = []
        for command in self.commands:
            subprocess.run(["/usr/bin/time", "-f", "%M", "-o", "peak.txt"] + command, cwd=self.folder, check=True,
                           stdin=subprocess.DEVNULL)
            with open(os.path.join(self.folder, "peak.txt"), encoding="ascii") as file:
                kibibytes.append(int(file.read()))
        return max(kibibytes) * 1024


class Job:
    """One size of the program, in a folder of its own."""

    def __init__(self, folder, files):
        self.folder = folder
        self.files = files
        self.lines = files * LINES
        shutil.rmtree(folder, ignore_errors=True)
        for part in ("base", "macros", "plain"):
            os.makedirs(os.path.join(folder, part))
        self.write_database()
        self.write_program()

    def write(self, name, lines):
        with open(os.path.join(self.folder, name), "w", encoding="ascii") as file:
            file.write("\n".join(lines) + "\n")

    def write_database(self):
        script, macros = [], []
        for keyword, code, widths in COMMANDS:
            script.append(f"#addcmmd {keyword} 0x{code:02X}")
            script += [f"#addparm {width - 1}" for width in widths]
            names = "abc"[: len(widths)]
            macros += [f".macro {keyword} {' '.join(names)}", f".byte {code}"]
            macros += [f"{DIRECTIVES[width]} \\{name}" for width, name in zip(widths, names)]
            macros.append(".endm")
        for keyword, code in (CALL, LEAVE):
            script += [f"#addcmmd {keyword} 0x{code:02X}", "#addparm 3"]
            macros += [f".macro {keyword} a", f".byte {code}", ".long \\a", ".endm"]
        script += ["#addparm 4", "#do"]
        self.write("base/includes.psh", script)
        self.write("macros/commands.s", macros)

    def write_program(self):
        chance = random.Random(self.files)
        labels = [f"part_{n}_{i}" for n in range(self.files) for i in range(LINES // BLOCK)]
        main, gnu, pushes = ["#include pushes.psc"], [], []
        for n in range(self.files):
            place = (n + 1) * ROOM
            # Every other buffer's first label carries its position in its name.
            if n % 2 == 0:
                pushes.append(f"#kapush part_{n}_0 0x{place:X}")
            main.append(f"#include part{n}.psc")
            gnu += [f".org 0x{place:X}", f'.include "part{n}.s"']
            self.write_file(n, labels, chance)
        self.write("main.psc", main)
        self.write("pushes.psc", pushes)
        self.write("plain/main.s", gnu)
        self.write("macros/main.s", ['.include "commands.s"'] + gnu)

    def write_file(self, n, labels, chance):
        script, macros, plain = [], [], []

        def command(keyword, code, pieces, target=None):
            line = " ".join([keyword] + [word for _, word in pieces])
            script.append(line if target is None else f"{line} {script_name(target)}")
            macros.append(line if target is None else f"{line} {target}")
            values = [("byte", str(code))] + [(DIRECTIVES[width][1:], word) for width, word in pieces]
            if target is not None:
                values.append(("long", target))
            plain.append("; ".join(merged(values)))

        for block in range(LINES // BLOCK):
            label = f"part_{n}_{block}"
            script.append(f"#org {script_name(label)} {n}")
            macros.append(f"{label}:")
            plain.append(f"{label}:")
            lines = [chance.choice(COMMANDS) for _ in range(BLOCK - 3)]
            lines.insert(chance.randrange(BLOCK - 2), None)
            for row in lines:
                if row is None:
                    command(*CALL, [], chance.choice(labels))
                else:
                    keyword, code, widths = row
                    command(keyword, code, [(width, number(width, chance)) for width in widths])
            command(*LEAVE, [], chance.choice(labels))
        self.write(f"part{n}.psc", script)
        self.write(f"macros/part{n}.s", macros)
        self.write(f"plain/part{n}.s", plain)

    def tidewright(self, program, line, writes=(), empties=()):
        """A session that begins with its database."""
        command = [program, "-q", "--yes", "--log-folder", "logs", "#boot; " + line]
        return Way(self.folder, [command], writes, empties)

    def burn(self, program, journal="on"):
        line = f"#journal {journal}; #include main.psc; #kapop game.bin"
        return self.tidewright(program, line, ["game.bin.burn"], ["game.bin"])

    def gnu(self, way):
        commands = [
            ["as", "-I", way, "-o", f"{way}.o", f"{way}/main.s"],
            ["ld", f"-Ttext=0x{BASE:X}", "-e", "0", "-o", f"{way}.elf", f"{way}.o"],
            ["objcopy", "-O", "binary", f"{way}.elf", f"{way}.bin"],
        ]
        return Way(self.folder, commands, [f"{way}.o", f"{way}.elf", f"{way}.bin"])

    def cat(self):
        """The floor of burn(): its scripts are read, and its log and image written, by what does nothing else. Wants
        what check() kept."""
        line = "cat base/includes.psh main.psc pushes.psc part*.psc >/dev/null; cat burned/* >cat.out"
        return Way(self.folder, [["sh", "-c", line]], ["cat.out"])

    def back(self, program):
        """The way back, by title. The first only fills the buffers; the others read what was written before them."""
        return {
            "compile": self.tidewright(program, "#include main.psc"),
            "compile, write buffer file": self.tidewright(program, "#include main.psc; #kapoke game.buf", ["game.buf"]),
            "read buffer file": self.tidewright(program, "#kapeek game.buf"),
            "decode buffer file": self.tidewright(program, "#decode game.buf", ["game.psc"]),
            "rawdecode image": self.tidewright(program, f"#rawdecode game.bin 0x{ROOM:X} 3", [RAW_SCRIPT]),
        }

    def check(self, program):
        """Stops where the program and the GNU chain come to different images; keeps log and image of the first for cat()."""
        self.burn(program).seconds()
        os.rename(os.path.join(self.folder, "logs"), os.path.join(self.folder, "burned"))
        shutil.copy(os.path.join(self.folder, "game.bin"), os.path.join(self.folder, "burned"))
        for way in ("macros", "plain"):
            self.gnu(way).seconds()
        images = [self.bytes_of(name) for name in ("game.bin", "macros.bin", "plain.bin")]
        if not images[0] or images.count(images[0]) != len(images):
            at = [next((i for i, (a, b) in enumerate(zip(images[0], other)) if a != b), "the end")
                  for other in images[1:]]
            sys.exit(f"{self.folder}: the images differ; sizes {[len(i) for i in images]}, first at {at}")

    def check_back(self, program):
        """Stops where what is decoded does not come to the image again, burned into one that holds nothing of it. The
        result is how many lines the image gave."""
        burned = self.bytes_of("game.bin")
        for way in self.back(program).values():
            way.seconds()
        for script in ("game.psc", RAW_SCRIPT):
            self.tidewright(program, f"#include pushes.psc; #include {script}; #kapop again.bin",
                            empties=["again.bin"]).seconds()
            again = self.bytes_of("again.bin")
            if script == "game.psc" and again != burned:
                sys.exit(f"{self.folder}: {script} gives another image")
            # The other holds what the first label leads to: zeros stand for the rest.
            if any(a != b for a, b in zip(again, burned) if a != 0):
                sys.exit(f"{self.folder}: {script} gives other bytes")
        return sum(1 for line in self.bytes_of(RAW_SCRIPT).splitlines() if line and not line.startswith(b"#ORG"))

    def bytes_of(self, name):
        with open(os.path.join(self.folder, name), "rb") as file:
            return file.read()


def script_name(label):
    _, n, block = label.split("_")
    placed_by_name = block == "0" and int(n) % 2 == 1
    return f"{label}.0x{(int(n) + 1) * ROOM:X}" if placed_by_name else label


def number(width, chance):
    value = chance.randrange(1 << 8 * width)
    return f"0x{value:0{2 * width}X}" if chance.random() < 0.5 else str(value)


def merged(values):
    """Directives for (directive, word) pairs, as few as a careful writer needs."""
    pieces = []
    for directive, word in values:
        if pieces and pieces[-1][0] == directive:
            pieces[-1][1].append(word)
        else:
            pieces.append((directive, [word]))
    return [f".{directive} {','.join(words)}" for directive, words in pieces]
