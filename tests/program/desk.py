"""What the tests of the built program share: a folder of their own, with files in it."""
import os
import unittest


class Desk(unittest.TestCase):
    """A test whose files stand in self.folder, which its setUp makes."""

    def write(self, name, content):
        with open(os.path.join(self.folder, name), "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode())

    def read(self, name):
        with open(os.path.join(self.folder, name), "rb") as file:
            return file.read()
