#!/usr/bin/env python3
"""Compares the blocks that are made from the tables of directives and options with those in the files that hold them, or
puts them in. Arguments: the program "pages" of the build; --write to put them in.

A block reaches from its first line to the next line that is its last one; each has to be in its file once."""
import os
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
FILES = {
    "markdown": "docs/directives.md",
    "bash": "editors/tidewright.bash",
    "vim": "editors/vim/syntax/tidewright.vim",
    "textmate": "editors/vscode/tidewright.tmLanguage.json",
}


def renewed(text, block):
    """The text with the block in the place of the one that it holds."""
    first, last = block.splitlines()[0], block.splitlines()[-1]
    before, found, behind = text.partition(first + "\n")
    old, ended, rest = behind.partition(last + "\n")
    if not found or not ended or first + "\n" in rest:
        sys.exit(f"there has to be one block from {first!r} to {last!r}")
    return before + block + "\n" + rest


def main():
    pages, write = sys.argv[1], sys.argv[2:] == ["--write"]
    stale = []
    for form, name in FILES.items():
        path = os.path.join(ROOT, name)
        with open(path, encoding="utf-8", newline="") as file:
            text = file.read()
        blocks = subprocess.run([pages, form], capture_output=True, check=True, text=True).stdout.strip("\n").split("\n\n")
        new = text
        for block in blocks:
            new = renewed(new, block)
        if new == text:
            continue
        stale.append(name)
        if write:
            with open(path, "w", encoding="utf-8", newline="") as file:
                file.write(new)
    if stale:
        print(("written: " if write else "not as the tables say; tools/manual.sh --write renews: ") + ", ".join(stale))
    return 1 if stale and not write else 0


if __name__ == "__main__":
    sys.exit(main())
