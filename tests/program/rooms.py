#!/usr/bin/env python3
"""Arrows run one way: no file of src/ includes a folder that its own folder's target does not see.

The build alone would not notice: the headers of all folders are within reach of each."""
import os
import re
import sys
import unittest

SRC = os.path.join(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))), "src")


def rooms():
    """Each room's folder with all folders that it sees, as src/CMakeLists.txt says."""
    with open(os.path.join(SRC, "CMakeLists.txt"), encoding="utf-8") as file:
        text = file.read()
    seen = {}
    for name, body in re.findall(r"^\s*room\((\w+)\s+(SOURCES.*?)\)$", text, re.M | re.S):
        direct = re.search(r"SEES (.*)", body, re.S)
        seen[name] = {name}.union(*(seen[other] for other in (direct.group(1).split() if direct else [])))
    folders = {name: f"platform/{name}" for name in ("posix", "win32", "memory")}
    return {folders.get(name, name): {folders.get(other, other) for other in all_seen} for name, all_seen in seen.items()}


class Rooms(unittest.TestCase):
    def test_includes_follow_the_plan(self):
        sees = rooms()
        self.assertIn("base", sees["shell"])
        for folder, _, names in os.walk(SRC):
            room = os.path.relpath(folder, SRC)
            for name in names:
                if not name.endswith((".h", ".cpp")) or name.endswith("main.cpp"):
                    continue
                with open(os.path.join(folder, name), encoding="utf-8") as file:
                    for included in re.findall(r'^#include "(.*)/[^/]+"', file.read(), re.M):
                        self.assertIn(included, sees[room], f"{room}/{name} includes {included}")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
