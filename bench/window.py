"""The 120,000-line job in the window and in the console program, both under the same Wine: what the window costs.

Takes the time from a start to the end, less that of a start which does nothing, in turn; prints medians and their
share. tools/bench.sh calls it, on a display of its own.
"""

import argparse
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

WORK = ["#boot;", "#include", "main.psc;", "#kapop", "game.bin;", "#exit"]
PROGRAMS = ("tidewrightc.exe", "tidewright.exe")


def seconds(folder, program, words):
    start = time.perf_counter()
    # The window's last wish is a status of its own; what counts is the image.
    subprocess.run(["wine", program] + words, cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL, timeout=120, check=False)
    return time.perf_counter() - start


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--programs", required=True, help="the folder of the Windows programs")
    parser.add_argument("--job", required=True, help="the folder of the job")
    parser.add_argument("--runs", type=int, default=5)
    options = parser.parse_args()
    prefix = tempfile.mkdtemp()
    os.environ.update(WINEPREFIX=prefix, WINEDEBUG="-all", WINEDLLOVERRIDES="mscoree,mshtml=")
    for program in PROGRAMS:
        shutil.copy(os.path.join(options.programs, program), options.job)
    image = os.path.join(options.job, "game.bin")
    try:
        subprocess.run(["wine", "wineboot"], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        # A desktop that stays: else each window would wait for one of its own to start.
        desktop = subprocess.Popen(["wine", "explorer", "/desktop=shell,1024x768"], stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        subprocess.run(["wine", "reg", "add", r"HKCU\Software\Wine\Explorer", "/v", "Desktop", "/d", "shell", "/f"],
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        time.sleep(3)
        taken = {program: [] for program in PROGRAMS}
        images = set()
        for _ in range(options.runs):
            for program in PROGRAMS:
                idle = seconds(options.job, program, ["#exit"])
                open(image, "wb").close()
                taken[program].append(seconds(options.job, program, WORK) - idle)
                with open(image, "rb") as file:
                    images.add(file.read())
        if len(images) != 1 or b"" in images:
            sys.exit("the images differ, or are empty")
        desktop.terminate()
    finally:
        subprocess.run(["wineserver", "-k"], check=False)
        shutil.rmtree(prefix, ignore_errors=True)
    medians = [statistics.median(taken[program]) for program in PROGRAMS]
    print("under Wine, without the start; the images are equal")
    for program, median in zip(PROGRAMS, medians):
        print(f"{program:28}{median * 1e3:7.1f} ms  {median / medians[0]:.2f} of the console program")


main()
