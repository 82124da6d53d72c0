#!/usr/bin/env python3
"""Burns that are killed: the image is wholly old or wholly new after the next start. Arguments: the program and how
many burns to kill (200)."""
import os
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import time

PROGRAM = os.path.abspath(sys.argv[1])
KILLS = int(sys.argv[2]) if len(sys.argv) > 2 else 200
CHUNKS, LENGTH, STEP = 1500, 60, 100
OLD = b"." * (CHUNKS * STEP // 2)


def script():
    """Chunks from the end of the image to its start, with gaps: each is written by itself."""
    lines = ["#autobank off"]
    for number in range(CHUNKS):
        lines.append(f"#org c{number}.0x{(CHUNKS - 1 - number) * STEP:x} {number % 16}")
        lines.append("#" + f"{number % 256:02x}" * LENGTH)
    return "\n".join(lines) + "\n"


def answered(process):
    """Waits for the line that #whoami gives."""
    if not any(line.startswith(b"Tidewright ") for line in process.stdout):
        raise SystemExit("the program ended early")


def burn(folder, behind, wait=None):
    """Burns, and is killed `wait` seconds behind the moment `behind`: "the start" of the burn or "the journal", which
    stands beside the image just before it is written. Without `wait` it is killed when the burn is done. Gives the
    seconds between."""
    process = subprocess.Popen([PROGRAM, "--log-folder", os.path.join(folder, "log"), "-i", "#kapeek burn.buf; #whoami"],
                               cwd=folder, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    answered(process)
    # Of a quick burn only the last name may be seen.
    journals = [os.path.join(folder, "game.bin" + ending) for ending in (".burning", ".burn")]
    for journal in journals:
        if os.path.exists(journal):
            os.remove(journal)
    process.stdin.write(b"#silent on; #kapop game.bin; #silent off; #whoami\n")
    process.stdin.flush()
    late = time.perf_counter() + 30
    while behind == "the journal" and not any(os.path.exists(journal) for journal in journals):
        if time.perf_counter() > late:
            raise SystemExit("there is no journal")
    start = time.perf_counter()
    if wait is None:
        answered(process)
    else:
        time.sleep(wait)
    took = time.perf_counter() - start
    process.send_signal(signal.SIGKILL)
    process.communicate()
    return took


def main():
    folder = tempfile.mkdtemp(prefix="tidewright kill ")
    try:
        image = os.path.join(folder, "game.bin")

        def content(new=None):
            with open(image, "wb" if new is not None else "rb") as file:
                return file.write(new) if new is not None else file.read()

        with open(os.path.join(folder, "burn.psc"), "w", encoding="ascii") as file:
            file.write(script())
        quiet = [PROGRAM, "-q", "--log-folder", os.path.join(folder, "log")]
        subprocess.run([*quiet, "-r", "burn.psc", "#kapoke burn.buf"], cwd=folder, check=True, stdin=subprocess.DEVNULL)
        content(OLD)
        took = {}
        for behind in ("the start", "the journal"):
            for _ in range(3):
                content(OLD)
                took[behind] = min(burn(folder, behind), took.get(behind, 30))
        new = content()
        if new == OLD or len(new) != CHUNKS * STEP - STEP + LENGTH:
            raise SystemExit("the burn itself went wrong")

        chance = random.Random(5)
        seen = {"old": 0, "new": 0, "half burned": 0, "recovered": 0}
        for number in range(KILLS):
            content(OLD)
            behind = "the journal" if number % 3 else "the start"
            burn(folder, behind, chance.uniform(0, took[behind] * 1.2))
            found = content()
            seen["half burned"] += found not in (OLD, new)
            ended = subprocess.run([PROGRAM, *quiet[2:], "#kapop game.bin"], cwd=folder, check=True, capture_output=True,
                                   stdin=subprocess.DEVNULL)
            seen["recovered"] += b"was cut short: the old bytes are back" in ended.stdout
            found = content()
            if found not in (OLD, new):
                raise SystemExit(f"kill {number}: the image is neither the old nor the new one")
            seen["old" if found == OLD else "new"] += 1
            rest = [name for name in os.listdir(folder) if name.endswith(".burning")]
            if rest:
                raise SystemExit(f"kill {number}: {rest} stayed")
        shown = ", ".join(f"{seconds * 1000:.0f} ms from {behind}" for behind, seconds in took.items())
        print(f"{KILLS} burns killed; a burn takes {shown}: {seen}")
        if not seen["half burned"] or not seen["recovered"]:
            raise SystemExit("the kills did not meet the burns half-way: nothing was shown")
    finally:
        shutil.rmtree(folder)


main()
