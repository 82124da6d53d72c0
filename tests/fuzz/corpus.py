#!/usr/bin/env python3
"""Makes the seeds of the fuzz targets, and a dictionary, out of the golden cases, the examples and the manual.
Arguments: the program, the folder for the corpora (a folder for each target, and words.dict)."""
import glob
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PROGRAM = os.path.abspath(sys.argv[1])
OUT = os.path.abspath(sys.argv[2])
MARK = b"\n----\n"


def read(path):
    with open(path, "rb") as file:
        return file.read()


def seed(target, number, content):
    folder = os.path.join(OUT, target)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, f"seed{number:03}"), "wb") as file:
        file.write(content)


def files(*patterns):
    return sorted(path for pattern in patterns for path in glob.glob(os.path.join(ROOT, pattern), recursive=True))


def manual_blocks():
    """The scripts of each page, which belong together."""
    for page in files("docs/*.md", "README.md"):
        blocks = re.findall(rb"```psc ?[^\n]*\n(.*?)```", read(page), re.S)
        if blocks:
            yield blocks


def buffer_files():
    """What the scripts compile to, and the same read a second time under other names."""
    line = "#boot; #include main.psc; #kapoke made.buf; #kapeek made.buf house; #kapoke more.buf"
    for script in files("tests/scripts/*/main.psc", "examples/*/main.psc"):
        with tempfile.TemporaryDirectory() as folder:
            game = os.path.join(folder, "game")
            shutil.copytree(os.path.dirname(script), game)
            subprocess.run([PROGRAM, "-q", "--log-folder", folder, line], cwd=game, stdin=subprocess.DEVNULL,
                           stderr=subprocess.DEVNULL, timeout=60, check=False)
            for made in files(game + "/*.buf"):
                yield read(made)


def main():
    scripts = [read(path) for path in files("tests/scripts/**/*.ps[ch]", "examples/**/*.ps[ch]", "base/*.psh")]
    scripts += [b"".join(blocks) for blocks in manual_blocks()]
    for number, script in enumerate(scripts):
        seed("line_intake", number, script)

    pairs = [(read(path), b"".join(read(script) for script in files(os.path.dirname(os.path.dirname(path)) + "/*.psc")))
             for path in files("tests/scripts/*/base/includes.psh", "examples/*/base/includes.psh")]
    pairs += [(blocks[0], b"".join(blocks[1:])) for blocks in manual_blocks()]
    for number, (database, lines) in enumerate(pairs):
        lines = b"\n".join(line for line in lines.splitlines() if not line.startswith(b"#boot"))
        seed("database", number, database + MARK + lines)
        entries = b"\n".join(line for line in database.splitlines() if re.match(rb"#add(text|hash|ctrl)", line))
        seed("text_table", number, entries + MARK + b"".join(re.findall(rb"^=(.*)$", lines, re.M)))

    for number, content in enumerate(buffer_files()):
        seed("buffer_file", number, bytes([number % 2]) + content)

    chance = random.Random(1)
    for number in range(64):
        seed("decoder", number, bytes([number % 2]) + bytes(chance.choice((chance.randrange(256), chance.randrange(16)))
                                                           for _ in range(chance.randrange(20, 300))))

    words = {word for page in files("docs/*.md") for word in re.findall(r"#[a-z.]+\b", read(page).decode())}
    words |= {"0x", "&h", "\\x0a", "$", "//", ";", "=", "main.psc", "game.bin", "0x20", "select(", "bind(", "mask(", "\\x0a----\\x0a"}
    with open(os.path.join(OUT, "words.dict"), "w", encoding="ascii") as file:
        file.writelines(f'"{word}"\n' for word in sorted(words))


main()
