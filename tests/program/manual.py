#!/usr/bin/env python3
"""Runs every example of the manual. Arguments: the program; then documents to show with their real output, if any.

In README.md and docs/*.md, a block marked "psc NAME" is a file, and a block marked "console" is a session of a shell: its
lines behind "$ " are run, the others must be what they print ("..." stands for any lines). Each document has a folder of
its own, in which its files and sessions follow one another.
"""
import os
import re
import subprocess
import sys
import tempfile
import unittest

PROGRAM = os.path.abspath(sys.argv.pop(1))
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
BLOCK = re.compile(r"^```(psc|console)(?: +(\S[^\n]*))?\n(.*?)^```$", re.M | re.S)


def documents():
    docs = os.path.join(ROOT, "docs")
    return [os.path.join(ROOT, "README.md")] + sorted(os.path.join(docs, n) for n in os.listdir(docs) if n.endswith(".md"))


def sessions(block):
    """The commands of a console block, each with the lines that it must print."""
    found = []
    for line in block.splitlines():
        if line.startswith("$ "):
            found.append((line[2:], []))
        else:
            found[-1][1].append(line)
    return found


def matches(wanted, lines):
    if not wanted:
        return not lines
    if wanted[0] == "...":
        return any(matches(wanted[1:], lines[i:]) for i in range(len(lines) + 1))
    return bool(lines) and wanted[0] == lines[0].rstrip() and matches(wanted[1:], lines[1:])


def run_document(path, judge):
    """Calls `judge(command, wanted lines, printed lines)` for each command of a document; gives how many there were."""
    count = 0
    with tempfile.TemporaryDirectory(prefix="tidewright-manual-") as folder:
        tools = os.path.join(folder, "tools")
        work = os.path.join(folder, "work")
        os.makedirs(tools)
        os.makedirs(work)
        with open(os.path.join(tools, "tidewright"), "w", encoding="utf-8") as file:
            file.write(f'#!/bin/sh\nexec "{PROGRAM}" --log-folder "{folder}/log" "$@"\n')
        os.chmod(os.path.join(tools, "tidewright"), 0o755)
        environment = dict(os.environ, PATH=tools + ":" + os.environ["PATH"], EXAMPLES=os.path.join(ROOT, "examples"))
        with open(path, encoding="utf-8") as file:
            text = file.read()
        for language, name, content in BLOCK.findall(text):
            if language == "psc":
                target = os.path.join(work, name)
                os.makedirs(os.path.dirname(target), exist_ok=True)
                with open(target, "w", encoding="utf-8") as file:
                    file.write(content)
                continue
            for command, wanted in sessions(content):
                ended = subprocess.run(["sh", "-c", command], cwd=work, env=environment, timeout=60, text=True,
                                       stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
                judge(command, wanted, ended.stdout.splitlines())
                count += 1
    return count


class Manual(unittest.TestCase):
    def test_every_example_prints_what_it_says(self):
        for path in documents():
            def judge(command, wanted, lines, path=path):
                with self.subTest(document=os.path.basename(path), command=command):
                    self.assertTrue(matches([w.rstrip() for w in wanted], lines), "\n".join(["printed:"] + lines))
            with self.subTest(document=path):
                run_document(path, judge)

    def test_the_references_have_examples(self):
        for name in ("language.md", "directives.md", "database.md"):
            self.assertGreater(run_document(os.path.join(ROOT, "docs", name), lambda *_: None), 0, name)


if __name__ == "__main__":
    if len(sys.argv) > 1:
        for document in sys.argv[1:]:
            run_document(document, lambda command, _, lines: print("\n".join(["$ " + command] + lines)))
    else:
        unittest.main()
