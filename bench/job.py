"""The whole-process job: the same 120,000 lines through tidewright and through the GNU assembler chain.

Writes one program three times: as scripts with a command database; as GNU assembler source, where each command
is a macro as the database is to tidewright; and as the same source with the macros expanded by hand. Checks
that the three images are equal byte for byte, then times the programs in turn and prints a table. A timing
never fails the run; unequal images do. tools/bench.sh calls it.
"""

import argparse
import os
import random
import shutil
import statistics
import subprocess
import sys
import time

FILES = 16  # as many buffers: file n fills buffer n
LINES = 7500  # in each file
BLOCK = 10  # a label, seven commands, two commands with a pointer
ROOM = 0x8000  # of each buffer in the image
BASE = 0x08000000

# Keyword, byte code, widths of the values. The second command with a pointer ends the block.
COMMANDS = [
    ("wait", 0x01, (2,)), ("walk", 0x05, (1, 1)), ("turn", 0x06, (1,)), ("face", 0x07, (1,)),
    ("setflag", 0x10, (2,)), ("clearflag", 0x11, (2,)), ("setvar", 0x12, (2, 2)), ("addvar", 0x13, (2, 2)),
    ("compare", 0x14, (2, 1)), ("sound", 0x20, (2,)), ("music", 0x21, (2,)), ("fade", 0x22, (1,)),
    ("show", 0x30, (1,)), ("hide", 0x31, (1,)), ("give", 0x32, (2, 1)), ("take", 0x33, (2, 1)),
]
CALL, LEAVE = ("callpart", 0x40), ("leaveto", 0x41)
DIRECTIVES = {1: ".byte", 2: ".short", 4: ".long"}


class Job:
    """One size of the program, in a folder of its own."""

    def __init__(self, folder, files):
        self.folder = folder
        self.files = files
        self.lines = files * LINES
        self.image = os.path.join(folder, "game.bin")
        self.logs = os.path.join(folder, "logs")
        shutil.rmtree(folder, ignore_errors=True)
        for part in ("base", "macros", "plain", "logs"):
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

    def tidewright(self, program):
        return [[program, "-q", "--log-folder", self.logs, "#boot; #include main.psc; #kapop game.bin"]]

    def gnu(self, way):
        return [
            ["as", "-I", way, "-o", f"{way}.o", f"{way}/main.s"],
            ["ld", f"-Ttext=0x{BASE:X}", "-e", "0", "-o", f"{way}.elf", f"{way}.o"],
            ["objcopy", "-O", "binary", f"{way}.elf", f"{way}.bin"],
        ]

    def back(self, program):
        """The way back, by title: what each run needs is left by the first one, which only stays in the buffers."""
        steps = {
            "compile": "#include main.psc",
            "compile, write buffer file": "#include main.psc; #kapoke game.buf",
            "read buffer file": "#kapeek game.buf",
            "decode buffer file": "#decode game.buf",
            "rawdecode image": f"#rawdecode game.bin 0x{ROOM:X} 3",
        }
        start = [program, "-q", "--yes", "--log-folder", self.logs]
        return {title: [start + ["#boot; " + line]] for title, line in steps.items()}

    def check_back(self, program):
        """Burns the image, and burns what is decoded of it into copies that hold nothing of it."""
        self.prepare()
        self.run(self.tidewright(program))
        burned = self.bytes_of("game.bin")
        for commands in self.back(program).values():
            self.run(commands)
        for script in ("game.psc", f"game{ROOM:X}.psc"):
            self.prepare()
            self.run([[program, "-q", "--log-folder", self.logs,
                       f"#boot; #include pushes.psc; #include {script}; #kapop game.bin"]])
            back = self.bytes_of("game.bin")
            if script == "game.psc" and back != burned:
                sys.exit(f"{self.folder}: {script} gives another image")
            # The other holds what the first label leads to: zeros stand for the rest.
            if any(a != b for a, b in zip(back, burned) if a != 0):
                sys.exit(f"{self.folder}: {script} gives other bytes")
        with open(self.image, "wb") as file:
            file.write(burned)
        with open(os.path.join(self.folder, f"game{ROOM:X}.psc"), encoding="ascii") as file:
            return sum(1 for line in file if line.strip() and not line.startswith("#ORG"))

    def prepare(self):
        """An empty image and no log: what tidewright starts from."""
        open(self.image, "wb").close()
        shutil.rmtree(self.logs)
        os.mkdir(self.logs)

    def run(self, commands):
        """Seconds that the commands take, one after the other."""
        start = time.perf_counter()
        for command in commands:
            subprocess.run(command, cwd=self.folder, check=True, stdin=subprocess.DEVNULL)
        return time.perf_counter() - start

    def peak(self, commands):
        """Peak memory in bytes of the hungriest of the commands. Not asked of the timed runs: a child of Python
        would count what Python itself had in memory."""
        kibibytes = []
        for command in commands:
            report = os.path.join(self.folder, "peak.txt")
            subprocess.run(["/usr/bin/time", "-f", "%M", "-o", report] + command, cwd=self.folder, check=True,
                           stdin=subprocess.DEVNULL)
            with open(report, encoding="ascii") as file:
                kibibytes.append(int(file.read()))
        return max(kibibytes) * 1024

    def bytes_of(self, name):
        with open(os.path.join(self.folder, name), "rb") as file:
            return file.read()

    def log_size(self):
        return sum(entry.stat().st_size for entry in os.scandir(self.logs))

    def check(self, ways):
        self.prepare()
        for commands in ways.values():
            self.run(commands)
        images = [self.bytes_of(name) for name in ("game.bin", "macros.bin", "plain.bin")]
        if not images[0] or images.count(images[0]) != len(images):
            at = [next((i for i, (a, b) in enumerate(zip(images[0], other)) if a != b), "the end")
                  for other in images[1:]]
            sys.exit(f"{self.folder}: the images differ; sizes {[len(i) for i in images]}, first at {at}")
        return len(images[0])


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


def measure(job, program, runs):
    """The ways' run times, taken in turn, after a check that they come to the same image."""
    ways = {"tidewright": job.tidewright(program), "macros": job.gnu("macros"), "plain": job.gnu("plain")}
    image_size = job.check(ways)
    times = {way: [] for way in ways}
    for _ in range(runs):
        for way, commands in ways.items():
            if way == "tidewright":
                job.prepare()
            times[way].append(job.run(commands))
    return ways, times, image_size


def measure_back(job, program, runs):
    """Prints what the way back takes, each step beside compiling."""
    lines = job.check_back(program)
    ways = job.back(program)
    times = {title: [] for title in ways}
    for _ in range(runs):
        for title, commands in ways.items():
            times[title].append(job.run(commands))
    compiling = statistics.median(times["compile"])
    print(f"\nThe way back; both scripts give the image again; rawdecode finds {lines} lines")
    for title, commands in ways.items():
        median = statistics.median(times[title])
        print(f"{title:28}{median * 1e3:7.1f} ms{min(times[title]) * 1e3:7.1f} ms{job.peak(commands) / 1e6:7.1f} MB"
              f"  {median / compiling:.2f} of compiling")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", required=True, help="the tidewright to time")
    parser.add_argument("--folder", required=True, help="where the job is written; emptied first")
    parser.add_argument("--runs", type=int, default=9, help="of each way at the full size")
    parser.add_argument("--only-write", action="store_true", help="write the full job and stop")
    options = parser.parse_args()
    program = os.path.abspath(options.program)
    folder = os.path.abspath(options.folder)

    job = Job(os.path.join(folder, str(FILES * LINES)), FILES)
    if options.only_write:
        job.prepare()
        return
    ways, times, image_size = measure(job, program, options.runs)
    own = statistics.median(times["tidewright"])
    print(f"{job.lines} lines, {FILES} files and buffers; {options.runs} runs of each, in turn; "
          "the three images are equal")
    print(f"{'':28}{'median':>10}{'fastest':>10}{'peak':>10}  tidewright's share")
    for way, title in (("tidewright", "tidewright"), ("macros", "as+ld+objcopy, macros"),
                       ("plain", "as+ld+objcopy, expanded")):
        if way == "tidewright":
            job.prepare()
        median = statistics.median(times[way])
        print(f"{title:28}{median * 1e3:7.1f} ms{min(times[way]) * 1e3:7.1f} ms{job.peak(ways[way]) / 1e6:7.1f} MB"
              + (f"  {own / median:.2f} of its median" if way != "tidewright" else ""))
    print(f"log written {job.log_size()} bytes, image {image_size} bytes")
    measure_back(job, program, options.runs)

    print(f"\n{'lines':>8}{'tidewright':>14}{'per line':>12}{'macros':>12}{'expanded':>12}   (medians of 5)")
    for files in (2, 4, 8, 16):
        sized = Job(os.path.join(folder, f"size{files * LINES}"), files)
        _, times, _ = measure(sized, program, 5)
        row = {way: statistics.median(values) for way, values in times.items()}
        print(f"{sized.lines:>8}{row['tidewright'] * 1e3:11.1f} ms{row['tidewright'] / sized.lines * 1e9:9.0f} ns"
              f"{row['macros'] * 1e3:9.1f} ms{row['plain'] * 1e3:9.1f} ms")


if __name__ == "__main__":
    main()
