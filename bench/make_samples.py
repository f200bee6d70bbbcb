#!/usr/bin/env python3
"""Makes the data that benchmarks run on when they are given no files: six kinds, always the same bytes.

Usage: make_samples.py FOLDER BYTES

  text     words of a made-up language, as frequent and as predictable as those of a natural one
  program  instructions with their operands, calls, padding, and tables of addresses
  records  rows of a database: numbers, dates, amounts, names of fixed width
  xml      nested elements with attributes and text
  image    grey values of 8 bits: slopes, edges and noise, row by row
  noise    bytes that nothing compresses

They stand for kinds of data, not for any file: figures on files of your own tell more.
"""

import itertools
import math
import pathlib
import random
import struct
import sys


class Ranked:
    """Draws items as often as Zipf's law says, the first one most often."""

    def __init__(self, rng: random.Random, items: list, exponent: float = 1.0):
        self.rng = rng
        self.items = items
        self.sums = list(itertools.accumulate((i + 1) ** -exponent for i in range(len(items))))

    def draw(self, count: int) -> list:
        return self.rng.choices(self.items, cum_weights=self.sums, k=count)


def vocabulary(rng: random.Random, size: int) -> list:
    """Words of one to four syllables, the short ones first."""
    onsets = Ranked(rng, ["t", "s", "", "r", "n", "d", "l", "m", "c", "p", "w", "h", "f", "b", "th", "st", "g", "sh"])
    vowels = Ranked(rng, ["e", "a", "i", "o", "u", "ea", "ou", "y"])
    codas = Ranked(rng, ["", "n", "r", "s", "t", "d", "l", "nd", "ng", "m"], 0.8)
    words = {}
    while len(words) < size:
        syllables = min(4, 1 + len(words) * 4 // size + (rng.random() < 0.3))
        word = "".join(map("".join, zip(onsets.draw(syllables), vowels.draw(syllables), codas.draw(syllables))))
        words.setdefault(word)
    return list(words)


def text(rng: random.Random, size: int) -> bytes:
    words = Ranked(rng, vocabulary(rng, 20000), 1.05)
    # What usually follows a word: one of a few others, the first most often.
    followers = {word: words.draw(12) for word in words.items}
    out, length, word, column = [], 0, "the", 0
    free = iter(())
    while length < size:
        sentence = []
        for _ in range(rng.randint(4, 24)):
            if rng.random() < 0.55:
                word = followers[word][int(12 * rng.random() ** 2)]
            else:
                word = next(free, None)
                if word is None:
                    free = iter(words.draw(1000))
                    word = next(free)
            sentence.append(word + ("," if rng.random() < 0.08 else ""))
        sentence[0] = sentence[0].capitalize()
        sentence[-1] = sentence[-1].rstrip(",") + "."
        for piece in sentence:
            if column + len(piece) > 75:
                out.append("\n")
                column = 0
            elif column:
                out.append(" ")
            out.append(piece)
            column += len(piece) + 1
            length += len(piece) + 1
        if rng.random() < 0.2:
            out.append("\n\n")
            length += 2
            column = 0
    return "".join(out).encode()[:size]


def program(rng: random.Random, size: int) -> bytes:
    """Functions of instructions, each an opcode with its operands, then addresses and strings."""
    shapes = []
    for _ in range(600):
        opcode = bytes(rng.choices([0x48, 0x89, 0x8B, 0x0F, 0x83, 0xE8, 0x85, 0xC7, 0x4C, 0x41, 0x66, 0xFF],
                                   k=rng.randint(1, 3))) + bytes([rng.randrange(256)])
        shapes.append((opcode, rng.choice(["", "", "b", "b", "b", "i", "call"])))
    instructions = Ranked(rng, shapes, 0.9)
    small = Ranked(rng, [0x08, 0x10, 0x18, 0x20, 0x01, 0x00, 0x28, 0x30, 0xF8, 0xE8, 0x40, 0x02] + list(range(256)))
    targets = Ranked(rng, [rng.randrange(size) for _ in range(2000)], 0.8)
    names = vocabulary(rng, 3000)
    out = bytearray()
    while len(out) < size * 4 // 5:
        out += b"\x55\x48\x89\xe5\x41\x54\x53"
        body = instructions.draw(int(rng.expovariate(1 / 60)) + 4)
        bytes_ = iter(small.draw(len(body)))
        for opcode, operand in body:
            out += opcode
            if operand == "b":
                out.append(next(bytes_))
            elif operand == "i":
                out += struct.pack("<i", next(bytes_) * (1 if rng.random() < 0.7 else 256))
            elif operand == "call":
                out += struct.pack("<i", targets.draw(1)[0] - len(out))
        out += b"\x5b\x41\x5c\x5d\xc3"
        out += bytes([0x90]) * (-len(out) % 16)
    while len(out) < size:
        for _ in range(64):
            out += struct.pack("<Q", 0x400000 + targets.draw(1)[0] * 16)
        out += "\0".join("_".join(rng.choices(names, k=rng.randint(1, 3))) for _ in range(40)).encode() + b"\0"
    return bytes(out[:size])


def records(rng: random.Random, size: int) -> bytes:
    names = Ranked(rng, [word.capitalize() for word in vocabulary(rng, 4000)])
    towns = Ranked(rng, [word.upper() for word in vocabulary(rng, 300)], 1.1)
    out = bytearray()
    number, time = 100000, 1_600_000_000
    row = struct.Struct("<IIHBB20s12sdi")
    while len(out) < size:
        first, last = names.draw(2)
        number += 1 + (rng.random() < 0.02) * rng.randrange(500)
        time += int(rng.expovariate(1 / 40))
        amount = round(math.exp(rng.gauss(3.5, 1.2)), 2)
        out += row.pack(number, time, int(abs(rng.gauss(0, 300))), rng.choice(b"AAAABBC"), 0,
                        f"{first} {last}".encode()[:20].ljust(20), towns.draw(1)[0].encode()[:12].ljust(12), amount,
                        rng.choice((-1, 0, 0, 0, 1, 7)))
    return bytes(out[:size])


def xml(rng: random.Random, size: int) -> bytes:
    words = Ranked(rng, vocabulary(rng, 4000))
    tags = Ranked(rng, ["entry", "name", "value", "link", "group", "note", "path", "date", "author", "item"], 0.8)
    out, length = ['<?xml version="1.0" encoding="UTF-8"?>\n<catalog>\n'], 50
    while length < size:
        group, number = tags.draw(1)[0], rng.randrange(100000)
        lines = [f'  <{group} id="{number:05d}" type="{words.draw(1)[0]}">\n']
        for tag in tags.draw(rng.randint(2, 9)):
            if tag == "date":
                content = f"20{rng.randrange(25):02d}-{rng.randint(1, 12):02d}-{rng.randint(1, 28):02d}"
            elif tag == "value":
                content = str(round(rng.lognormvariate(3, 2), 3))
            elif tag == "path":
                content = "/usr/share/" + "/".join(words.draw(rng.randint(1, 3)))
            else:
                content = " ".join(words.draw(rng.randint(1, 8)))
            lines.append(f"    <{tag}>{content}</{tag}>\n")
        lines.append(f"  </{group}>\n")
        piece = "".join(lines)
        out.append(piece)
        length += len(piece)
    return "".join(out).encode()[:size]


def image(rng: random.Random, size: int) -> bytes:
    width = 1024
    out = bytearray()
    steps = 16
    levels = [rng.uniform(20, 200) for _ in range(width // steps + 2)]
    while len(out) < size:
        # A row of smooth values that change a little from row to row, with a sharp edge now and then.
        for i in range(len(levels)):
            levels[i] += rng.gauss(0, 1.2) + (128 - levels[i]) * 0.002
            if rng.random() < 0.0015:
                levels[i] = rng.uniform(10, 245)
        noise = rng.randbytes(width)
        for i in range(width):
            left = levels[i // steps]
            value = left + (levels[i // steps + 1] - left) * (i % steps) / steps
            bits = noise[i]
            out.append(max(0, min(255, int(value) + (bits & 1) + (bits >> 1 & 1) - 1)))
    return bytes(out[:size])


def noise(rng: random.Random, size: int) -> bytes:
    return rng.randbytes(size)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    folder, size = pathlib.Path(sys.argv[1]), int(sys.argv[2])
    folder.mkdir(parents=True, exist_ok=True)
    for seed, make in enumerate((text, program, records, xml, image, noise), 1):
        part = folder / (make.__name__ + ".part")
        part.write_bytes(make(random.Random(seed), size))
        part.rename(folder / make.__name__)


if __name__ == "__main__":
    main()
