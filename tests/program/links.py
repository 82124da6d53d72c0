#!/usr/bin/env python3
"""The manual as HTML: every link, anchor and picture leads somewhere, and the contents lead to every page."""
import html.parser
import os
import subprocess
import sys
import tempfile
import unittest
import urllib.parse

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


class Page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.anchors, self.targets = set(), []
        with open(path, encoding="utf-8") as file:
            self.feed(file.read())

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if name == "id":
                self.anchors.add(value)
            if name in ("href", "src"):
                self.targets.append(value)


class Links(unittest.TestCase):
    def test_each_leads_somewhere(self):
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run([os.path.join(ROOT, "tools", "manual.sh"), folder], check=True, timeout=100)
            files = os.listdir(folder)
            pages = {name: Page(os.path.join(folder, name)) for name in files if name.endswith(".html")}
        for name, page in pages.items():
            for target in page.targets:
                with self.subTest(page=name, target=target):
                    url = urllib.parse.urlsplit(target)
                    if url.scheme in ("http", "https"):
                        continue
                    self.assertIn(url.path or name, files)
                    if url.fragment:
                        self.assertIn(url.fragment, pages[url.path or name].anchors)
        self.assertEqual(set(pages) - set(pages["index.html"].targets), set())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
