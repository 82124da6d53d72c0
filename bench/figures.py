"""What the program takes, beside what others take for the same, and what it is to take at most.

Everything is measured in turn, in rounds, behind a round that does not count: a machine that is slow for a while is so
for all. A share is the median of the rounds' own shares. A figure never fails the run; unequal images do.
tools/bench.sh calls it.
"""

import argparse
import os
import shutil
import statistics

from job import FILES, LINES, Job, Way

SIZES = (2, 4, 8, 16)  # files of a job: 15,000 to 120,000 lines


class Turns:
    """The seconds of several ways, each of them taken once in every round."""

    def __init__(self, ways, rounds):
        self.ways = ways
        self.times = {title: [] for title in ways}
        for turn in range(rounds + 1):
            for title, way in ways.items():
                seconds = way.seconds()
                if turn > 0:
                    self.times[title].append(seconds)

    def median(self, title):
        return statistics.median(self.times[title])

    def share(self, title, other):
        return statistics.median(a / b for a, b in zip(self.times[title], self.times[other]))

    def show(self, title):
        print(f"{title:28}{self.median(title) * 1e3:9.1f} ms{min(self.times[title]) * 1e3:9.1f} ms"
              f"{self.ways[title].peak() / 1e6:9.1f} MB")


def large_database(folder):
    """256 commands, 4,000 aliases, 4,000 defines, 2,000 text entries, in a folder to boot in."""
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(os.path.join(folder, "base"))
    lines = []
    for n in range(256):
        lines += [f"#addcmmd command{n} 0x{n:02X} ' does the thing number {n}", "#addparm 0", "#addparm 1"]
    for n in range(4000):
        lines += [f"#alias do thing{n} with $1 and $2", f"#addparm 7 command{n % 256}", "#addparm 0", "#addparm 1"]
    lines += [f"#define name{n} 0x{n:04X}" for n in range(4000)]
    lines += [f"#addhash sign{n} 0x{n:04X}" for n in range(2000)]
    with open(os.path.join(folder, "base/includes.psh"), "w", encoding="ascii") as file:
        file.write("\n".join(lines + ["#do"]) + "\n")


def session(program, folder, line):
    os.makedirs(folder, exist_ok=True)
    return Way(folder, [[program, "-q", "--log-folder", "logs", line]])


def ways_of(job, program, folder):
    """Everything that is measured at the full size, by title."""
    large_database(os.path.join(folder, "large"))
    return {
        "compile and burn": job.burn(program),
        "the same, #journal off": job.burn(program, "off"),
        "as+ld+objcopy, macros": job.gnu("macros"),
        "as+ld+objcopy, expanded": job.gnu("plain"),
        "cat of the same bytes": job.cat(),
        **job.back(program),
        "start, #exit, end": session(program, os.path.join(folder, "start"), "#exit"),
        "start of true": Way(folder, [["true"]]),
        "boot, large database": session(program, os.path.join(folder, "large"), "#boot"),
    }


def growth(program, folder):
    """Nanoseconds that a line takes, by number of lines."""
    jobs = [Job(os.path.join(folder, f"size{files * LINES}"), files) for files in SIZES]
    turns = Turns({job.lines: job.burn(program) for job in jobs}, 7)
    return {lines: turns.median(lines) / lines * 1e9 for lines in turns.times}


def show_aim(work, measured, peer, share, aim):
    """A row of the last table. `share` and `aim` are numbers of one unit; no aim where there is none."""
    verdict = "" if aim is None else f"{aim:8.2f}  {'met' if share <= aim else 'not met'}"
    print(f"{work:50}{measured:>12}{peer:>12}{share:10.2f}{verdict}")


def show_aims(turns, per_line):
    print(f"\n{'':50}{'measured':>12}{'beside':>12}{'share':>10}{'at most':>8}")

    def beside(work, title, other, aim):
        measured, peer = (f"{turns.median(one) * 1e3:.1f} ms" for one in (title, other))
        show_aim(work, measured, peer, turns.share(title, other), aim)

    # With the journal a burn waits for the disk, which none of the others does.
    for burn in ("compile and burn", "the same, #journal off"):
        beside(f"{burn} / GNU chain, macros", burn, "as+ld+objcopy, macros", 0.5)
        beside(f"{burn} / GNU chain, expanded", burn, "as+ld+objcopy, expanded", None)
        beside(f"{burn} / cat of the same bytes", burn, "cat of the same bytes", 5)
    largest, quickest = per_line[max(per_line)], min(per_line.values())
    show_aim("a line of the largest size / of the quickest", f"{largest:.0f} ns", f"{quickest:.0f} ns", largest / quickest,
             1.15)
    beside("decode buffer file / compile", "decode buffer file", "compile", 1)
    beside("rawdecode image / compile", "rawdecode image", "compile", 1)
    for title, floor, limit in (("start, #exit, end", "start of true", 5), ("boot, large database", "start, #exit, end", 30)):
        measured = turns.median(title) * 1e3
        show_aim(f"{title}, in ms", f"{measured:.1f} ms", f"{turns.median(floor) * 1e3:.1f} ms", measured, limit)
    for title, limit in (("compile and burn", 24), ("start, #exit, end", 8)):
        peak = turns.ways[title].peak() / 1e6
        show_aim(f"peak memory of {title}, in MB", f"{peak:.1f} MB", "", peak, limit)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", required=True, help="the tidewright to measure")
    parser.add_argument("--folder", required=True, help="where the job is written; emptied first")
    parser.add_argument("--rounds", type=int, default=9, help="at the full size")
    options = parser.parse_args()
    program = os.path.abspath(options.program)
    folder = os.path.abspath(options.folder)
    shutil.rmtree(folder, ignore_errors=True)

    job = Job(os.path.join(folder, str(FILES * LINES)), FILES)
    job.check(program)
    found = job.check_back(program)
    turns = Turns(ways_of(job, program, folder), options.rounds)
    print(f"{job.lines} lines, {FILES} files and buffers; {options.rounds} rounds; the three images are equal; what is "
          f"decoded gives them again\n(rawdecode finds {found} lines)\n{'':28}{'median':>12}{'fastest':>12}{'peak':>12}")
    for title in turns.ways:
        turns.show(title)
    sizes = {name: os.path.getsize(os.path.join(job.folder, "burned", name))
             for name in os.listdir(os.path.join(job.folder, "burned"))}
    print(", ".join(f"{name} {size} bytes" for name, size in sizes.items()))

    per_line = growth(program, folder)
    print("\n" + ", ".join(f"{lines} lines: {nanoseconds:.0f} ns a line" for lines, nanoseconds in per_line.items()))
    show_aims(turns, per_line)


if __name__ == "__main__":
    main()
