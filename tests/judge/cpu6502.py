#!/usr/bin/env python3
"""A real instruction set judges decoding: random 6502 programs that 64tass assembles. Argument: the program.

Each becomes a part of an image. The raw decompiler must turn that part back into the program, line by line, and its
script, burned where the part was wiped out, must give the assembler's image again. The commands of the database are a
table of the documented opcodes; the assembler knows them by mnemonic and operand only, so a mistake of the table shows.
"""
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

PROGRAM = os.path.abspath(sys.argv.pop(1))
BLOCK = 1000  # what the decompiler reads at a time; a longer program goes on in a further section

# How the assembler writes each addressing mode, and how many bytes its operand has. "@" says whether a number is a byte
# or a word. A branch has a signed distance for its byte, from the byte behind it.
MODES = {
    "imp": ("", 0), "acc": (" a", 0), "imm": (" #{}", 1), "zp": (" @b {}", 1), "zpx": (" @b {},x", 1),
    "zpy": (" @b {},y", 1), "indx": (" ({},x)", 1), "indy": (" ({}),y", 1), "rel": (" *+2+({}^$80)-$80", 1),
    "abs": (" @w {}", 2), "absx": (" @w {},x", 2), "absy": (" @w {},y", 2), "ind": (" ({})", 2),
}

OPCODES = """
imp  brk 00 php 08 clc 18 plp 28 sec 38 rti 40 pha 48 cli 58 rts 60 pla 68 sei 78 dey 88 txa 8a tya 98 txs 9a tay a8
imp  tax aa clv b8 tsx ba iny c8 dex ca cld d8 inx e8 nop ea sed f8
acc  asl 0a rol 2a lsr 4a ror 6a
imm  ora 09 and 29 eor 49 adc 69 ldy a0 ldx a2 lda a9 cpy c0 cmp c9 cpx e0 sbc e9
zp   ora 05 asl 06 bit 24 and 25 rol 26 eor 45 lsr 46 adc 65 ror 66 sty 84 sta 85 stx 86 ldy a4 lda a5 ldx a6
zp   cpy c4 cmp c5 dec c6 cpx e4 sbc e5 inc e6
zpx  ora 15 asl 16 and 35 rol 36 eor 55 lsr 56 adc 75 ror 76 sty 94 sta 95 ldy b4 lda b5 cmp d5 dec d6 sbc f5 inc f6
zpy  stx 96 ldx b6
indx ora 01 and 21 eor 41 adc 61 sta 81 lda a1 cmp c1 sbc e1
indy ora 11 and 31 eor 51 adc 71 sta 91 lda b1 cmp d1 sbc f1
rel  bpl 10 bmi 30 bvc 50 bvs 70 bcc 90 bcs b0 bne d0 beq f0
abs  ora 0d asl 0e jsr 20 bit 2c and 2d rol 2e jmp 4c eor 4d lsr 4e adc 6d ror 6e sty 8c sta 8d stx 8e ldy ac lda ad
abs  ldx ae cpy cc cmp cd dec ce cpx ec sbc ed inc ee
absx ora 1d asl 1e and 3d rol 3e eor 5d lsr 5e adc 7d ror 7e sta 9d ldy bc lda bd cmp dd dec de sbc fd inc fe
absy ora 19 and 39 eor 59 adc 79 sta 99 lda b9 ldx be cmp d9 sbc f9
ind  jmp 6c
"""
ENDS = ("brk", "rti", "rts")  # a program is over behind one of these


class Opcode:
    """A command of the database: one opcode of the table."""

    def __init__(self, mode, mnemonic, code):
        self.code = int(code, 16)
        self.ends = mnemonic in ENDS
        self.keyword = mnemonic if mode == "imp" else mnemonic + "." + mode
        pattern, self.width = MODES[mode]
        self.pattern = mnemonic + pattern

    def definition(self):
        parameters = {0: "", 1: "#addparm 0\n", 2: "#addparm 1\n"}[self.width] + ("#addparm 4\n" if self.ends else "")
        return f"#addcmmd {self.keyword} 0x{self.code:02X}\n{parameters}"


def table():
    rows = [row.split() for row in OPCODES.split("\n") if row]
    return [Opcode(row[0], *pair) for row in rows for pair in zip(row[1::2], row[2::2])]


TABLE = table()
NOP = next(opcode for opcode in TABLE if opcode.keyword == "nop")
UNDOCUMENTED = sorted(set(range(256)) - {opcode.code for opcode in TABLE})


class Instruction:
    """An opcode with a random operand: `source` is for the assembler, `line` what a decoded script has."""

    def __init__(self, opcode, dice):
        self.size = 1 + opcode.width
        # Small numbers, too: a word must stay one.
        value = dice.getrandbits(8 * opcode.width if dice.random() < 0.8 else 3) if opcode.width else 0
        digits = f"{value:0{2 * opcode.width}X}"
        self.source = opcode.pattern.format("$" + digits)
        self.line = opcode.keyword + (f" &h{digits}" if opcode.width else "")


def program(dice, size, must_have=()):
    """Instructions of `size` bytes altogether, among them each of `must_have`; the last one ends the program."""
    going_on = [opcode for opcode in TABLE if not opcode.ends]
    made = [Instruction(opcode, dice) for opcode in must_have]
    left = size - 1 - sum(each.size for each in made)
    while left > 0:
        made.append(Instruction(dice.choice(going_on) if left > 2 else NOP, dice))
        left -= made[-1].size
    dice.shuffle(made)
    return made + [Instruction(dice.choice([opcode for opcode in TABLE if opcode.ends]), dice)]


class Cpu6502(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="tidewright-6502-")
        self.addCleanup(shutil.rmtree, self.folder)
        os.mkdir(os.path.join(self.folder, "base"))
        self.write("base/includes.psh", ("".join(opcode.definition() for opcode in TABLE) + "#do\n").encode())

    def write(self, name, content):
        with open(os.path.join(self.folder, name), "wb") as file:
            file.write(content)

    def read(self, name):
        with open(os.path.join(self.folder, name), "rb") as file:
            return file.read()

    def run_there(self, *command):
        ended = subprocess.run(command, cwd=self.folder, capture_output=True, timeout=60, stdin=subprocess.DEVNULL)
        self.assertEqual((ended.returncode, ended.stderr), (0, b""), ended.stdout[-2000:])

    def tidewright(self, line):
        self.run_there(PROGRAM, "--log-folder", os.path.join(self.folder, "log"), line)

    def assemble(self, sources):
        self.write("code.asm", ('.cpu "6502"\n* = $8000\n' + "\n".join(sources) + "\n").encode())
        self.run_there("64tass", "--quiet", "--nostart", "--output", "code.bin", "code.asm")
        return self.read("code.bin")

    def decode(self, code, offset, dice, tail):
        """Puts `code` into an image and decodes it there. Gives the image and the script."""
        image = dice.randbytes(offset) + code + dice.randbytes(tail)
        self.write("rom.bin", image)
        script = os.path.join(self.folder, f"rom{offset:X}.psc")
        if os.path.exists(script):
            os.remove(script)  # of an earlier program; the user would be asked
        self.tidewright(f"#boot; #rawdecode rom.bin 0x{offset:X} 3")
        return image, self.read(f"rom{offset:X}.psc").decode()

    def burn(self, image, offset, size):
        """The image again, of which `size` bytes were wiped out and written by the script."""
        self.write("copy.bin", image[:offset] + b"\xff" * size + image[offset + size:])
        self.tidewright(f"#boot; #include rom{offset:X}.psc; #kapop copy.bin")
        return self.read("copy.bin")

    def check_lines(self, script, instructions, offset, last_line=None):
        """The script is these instructions (and that line), in sections that hold all whole instructions of a block."""
        starts = [int(digits, 16) for digits in re.findall("^#ORG 0x([0-9A-F]+)\r$", script, re.M)]
        wanted, address = [], offset
        lines = [(each.line, each.size) for each in instructions] + ([(last_line, 0)] if last_line else [])
        for line, size in lines:
            wanted += [f"#ORG 0x{address:X}"] * (address in starts) + [line]
            address += size
        self.assertEqual([line for line in script.split("\r\n") if line], wanted)
        self.assertEqual(starts[0], offset)
        for start, end in zip(starts, starts[1:]):
            self.assertIn(end - start, range(BLOCK - 2, BLOCK + 1))
        self.assertLessEqual(address - starts[-1], BLOCK)

    def test_programs_come_back(self):
        going_on = [opcode for opcode in TABLE if not opcode.ends]
        self.assertEqual((len(TABLE), len(going_on)), (151, 148))
        whole = 3 * [500]  # with each of the opcodes, as often as there are ends
        near_a_block = [blocks * BLOCK + more for blocks in (1, 2) for more in range(-3, 4)]
        for seed, size in enumerate([*whole, *range(1, 8), *near_a_block, 7 * BLOCK + 500]):
            with self.subTest(seed=seed, size=size):
                dice = random.Random(seed)
                instructions = program(dice, size, going_on if seed < len(whole) else ())
                if seed < len(ENDS):
                    instructions[-1] = Instruction(next(o for o in TABLE if o.keyword == ENDS[seed]), dice)
                code = self.assemble(each.source for each in instructions)
                self.assertEqual(len(code), size)
                offset = dice.randrange(1, 0x3000)
                image, script = self.decode(code, offset, dice, dice.choice([0, 0, 1, 2000]))
                self.check_lines(script, instructions, offset)
                self.assertTrue(self.burn(image, offset, size) == image, "the burned image is another")

    def test_what_is_no_command_ends_the_script(self):
        cut_off = [opcode.code for opcode in TABLE if opcode.width == 2]  # the image ends before its operand does
        for seed, size in enumerate(2 * [0, 1, 100, BLOCK - 1, BLOCK, BLOCK + 1]):
            dice = random.Random(1000 + seed)
            is_cut = seed >= 6
            byte = dice.choice(cut_off if is_cut else UNDOCUMENTED)
            with self.subTest(seed=1000 + seed, size=size, byte=hex(byte)):
                before = program(dice, size + 1)[:-1]
                behind = [f".byte {byte}"] + (["nop"] if is_cut else [each.source for each in program(dice, 50)])
                code = self.assemble([*(each.source for each in before), *behind])
                image, script = self.decode(code, 0x1000, dice, 0)
                comment = re.search("^'[^\r\n]*", script, re.M)
                self.assertIsNotNone(comment, script)
                self.assertIn(f"0x{byte:02X} at 0x{0x1000 + size:X} ", comment.group())
                self.check_lines(script, before, 0x1000, comment.group())
                # What is not decoded stays wiped out.
                burned = self.burn(image, 0x1000, len(code))
                self.assertEqual(burned, image[:0x1000 + size] + b"\xff" * (len(code) - size))


if __name__ == "__main__":
    unittest.main()
