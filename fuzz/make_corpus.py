#!/usr/bin/env python3
"""Writes the seed corpora: corpus/<target>/ beside this file. Run it again when a target reads its options anew."""

import pathlib
import random
import zlib

FOLDER = pathlib.Path(__file__).parent / "corpus"


def texts():
    generator = random.Random(1)
    words = ["".join(generator.choices("etaoinshrdlu", k=generator.randint(1, 8))) for _ in range(60)]
    yield "text", " ".join(generator.choices(words, k=250)).encode()
    yield "noise", generator.randbytes(300)
    yield "run", b"a" * 1000 + b"b" + b"a" * 300
    yield "four", bytes(generator.choices(range(4), k=900))
    yield "mixed", generator.randbytes(100) + b"mixed " * 40 + generator.randbytes(100) + bytes(200)
    yield "tiny", b"ab"
    yield "empty", b""


def raw(data, level=6, strategy=zlib.Z_DEFAULT_STRATEGY, flush=None, dictionary=b""):
    arguments = [level, zlib.DEFLATED, -15, 8, strategy]
    compressor = zlib.compressobj(*arguments, dictionary) if dictionary else zlib.compressobj(*arguments)
    out = b""
    if flush is not None:
        for i in range(0, len(data), 100):
            out += compressor.compress(data[i : i + 100]) + compressor.flush(flush)
        return out + compressor.flush()
    return compressor.compress(data) + compressor.flush()


def streams():
    for name, data in texts():
        yield name + "-dynamic", raw(data)
        yield name + "-fixed", raw(data, strategy=zlib.Z_FIXED)
    text = dict(texts())["text"]
    mixed = dict(texts())["mixed"]
    yield "stored", raw(text[:200], level=0)
    yield "huffman", raw(mixed, strategy=zlib.Z_HUFFMAN_ONLY)
    yield "sync", raw(mixed, flush=zlib.Z_SYNC_FLUSH)
    yield "partial", raw(mixed, flush=zlib.Z_PARTIAL_FLUSH)
    yield "twice", raw(text) + raw(mixed)
    # Bit by bit: a chain of empty fixed blocks, a reserved block, a stored block of wrong length.
    yield "chain", bytes.fromhex("02082080000208200003")
    yield "reserved", bytes.fromhex("06ff")
    yield "mismatch", bytes.fromhex("010500faf0")


# An LZSS stream: literals, and matches with whatever stands at most 300 bytes back.
def lzss(data):
    bits, i = "", 0
    while i < len(data):
        length, distance = max(
            (next((n for n in range(258) if i + n >= len(data) or data[i + n] != data[i + n - d]), 258), d)
            for d in range(1, min(i, 300) + 1)
        ) if i else (0, 0)
        if length < 3:
            bits, i = bits + f"1{data[i]:08b}", i + 1
        else:
            bits, i = bits + f"0{distance:015b}{length - 3:08b}", i + length
    bits += "0" * (-len(bits) % 8)
    return bytes(int(bits[k : k + 8], 2) for k in range(0, len(bits), 8))


# bzip2's Huffman stage: a description of tables with the given code lengths, and bytes behind it.
def huffman_block(lengths, selectors, coded):
    bits = f"{len(lengths):03b}{len(selectors):015b}"
    order = list(range(6))
    for selector in selectors:
        place = order.index(selector)
        bits += "1" * place + "0"
        order.insert(0, order.pop(place))
    for table in lengths:
        current = table[0]
        bits += f"{current:05b}"
        for length in table:
            bits += ("10" if length > current else "11") * abs(length - current) + "0"
            current = length
    bits += "".join(f"{byte:08b}" for byte in coded)
    bits += "0" * (-len(bits) % 8)
    return int(bits, 2).to_bytes(len(bits) // 8, "big")


def huffman_blocks():
    generator = random.Random(3)
    noise = generator.randbytes(200)
    yield "flat", 256, huffman_block([[8] * 256] * 2, [0, 1, 0], noise)
    yield "ladder", 21, huffman_block([[*range(1, 21), 20], [20, *range(20, 0, -1)]], [1, 0], noise + b"\xff" * 50)
    yield "six", 4, huffman_block([[1, 2, 3, 3], [2] * 4] * 3, [5, 4, 3, 2, 1, 0], noise)
    yield "incomplete", 3, huffman_block([[2, 9, 20]] * 2, [0], noise)
    yield "one", 1, huffman_block([[1]] * 2, [0], b"")
    yield "over", 3, huffman_block([[1, 1, 1]] * 2, [0], noise)
    yield "long", 3, huffman_block([[1, 2, 2]] * 2, [0] * 400, generator.randbytes(300))


# Code lengths of bytes, or what makes some: weights as powers of two, packed tables, lengths as they are.
def huffman_lengths():
    yield "weights", bytes([1, 1, 2, 3, 4, 5, 6, 7, 8, 8, 8, 9, 10, 12, 14, 16, 18, 20, 22])
    yield "packed", bytes.fromhex("456789abc00f6012e33244556778899abc7d")
    yield "plain", bytes([1, 2, 3, 4, 5, 6, 7, 7])
    yield "flat-weights", bytes([1] * 256)
    yield "packed-runs", bytes.fromhex("00f6000600060006d888c000d0c0")
    yield "long", bytes([*range(1, 33), 32])
    yield "one-weight", bytes([0, 0, 5])
    yield "packed-noise", bytes(range(3, 250, 13))
    yield "gaps", bytes([3, 9, 3, 9, 20, 32])


# Options of the decoder: pieces of source, room and pairs, seed of the split, dictionary.
SPLITS = [bytes([0, 0, 0, 0, 0]), bytes([1, 1, 1, 0, 0]), bytes([20, 200, 30, 7, 0]), bytes([3, 5, 2, 0, 3])]

# Options of the encoder: level, checksum, blocks, flush, pieces of input, pairs and room, seed, dictionary, path.
ENCODERS = [
    bytes([0, 0, 0, 0, 0, 0, 0, 0, 0, 0]),
    bytes([1, 1, 1, 1, 50, 20, 1, 0, 0, 1]),
    bytes([2, 2, 2, 0, 130, 60, 9, 5, 0, 0]),
    bytes([1, 0, 4, 1, 100, 10, 30, 3, 77, 1]),
    bytes([2, 1, 3, 2, 0, 129, 0, 0, 190, 0]),
]


# Options of the bzip2 chain: pieces and room of the run-length code, pieces of move-to-front, room of the zero runs,
# pieces of the Huffman code; length of runs, repeats.
CHAINS = [
    bytes([0, 0, 0, 0, 0, 0, 0, 0]),
    bytes([1, 1, 1, 1, 1, 5, 1, 1]),
    bytes([20, 3, 100, 19, 7, 4, 1, 7]),
    bytes([130, 140, 2, 21, 150, 231, 3, 3]),
]


# Variable-length codes: kind and number of codes, their splits, widths of sub-tables, tuples; a place in the stream.
def code_tables():
    generator = random.Random(4)
    for kind in range(1, 64, 4):
        n = generator.choice([1, 5, 30, 200])
        splits = generator.randbytes(2 * n)
        widths = bytes([2, 9, 6, 8, 0, 7]) if kind & 8 else bytes([0, 9, 0, 4])
        tuples = bytes([2 * (kind % 3), 4])
        place = bytes([kind % 32, 20, 0]) if kind & 32 else bytes([0, 3, 1])
        yield f"split-{kind}", bytes([kind]) + (n - 1).to_bytes(2, "little") + splits + widths + tuples + place
    for kind in (0, 4, 8):
        codes = b"".join(bytes([i, 0, 1, i, 0, 4]) for i in range(9))
        yield f"any-{kind}", bytes([kind, 8, 0]) + codes + bytes([1, 2, 3, 1, 0, 0, 5, 9, 0])


def inputs():
    for i, (name, symbols, block) in enumerate(huffman_blocks()):
        yield "fuzz_bzip2_huffman", name, bytes([0]) + (symbols - 1).to_bytes(2, "little") + bytes([i % 4]) + block
    for i, (name, data) in enumerate(texts()):
        options = (257 - 40 * i).to_bytes(2, "little") + bytes([7 * i, 9 * i])
        yield "fuzz_bzip2_huffman", f"symbols-{name}", bytes([1]) + options + data
    for i, (name, stream) in enumerate(streams()):
        split = SPLITS[i % len(SPLITS)]
        yield "fuzz_inflate_bytes", name, split + stream
        yield "fuzz_inflate_pairs", name, split + stream
        yield "fuzz_one_call_inflate", name, bytes([0]) + split[:2] + bytes([7 * i % 30, i, 0]) + stream
    for i, (name, data) in enumerate(texts()):
        for j, encoder in enumerate(ENCODERS):
            if (i + j) % 2 == 0:
                split = SPLITS[(i + j) % len(SPLITS)]
                yield "fuzz_deflate_roundtrip", f"{name}-{j}", encoder + split + bytes([i % 3, 9, j]) + data
    # Code lengths of both forms, two a byte, then changes of the tables, the window, bits, mode, and calls.
    for name, lengths in ("short", [8] * 256 + [9] * 30 + [5] * 30), ("general", [7] * 100 + [15] * 186 + [11] * 30):
        packed = bytes(lengths[k] | lengths[k + 1] << 4 for k in range(0, len(lengths), 2))
        calls = bytes([0, 200, 0, 0, 1]) + bytes([0, 200]) + bytes(range(200)) + bytes([9, 0, 0, 250, 99, 0])
        yield "fuzz_one_call_inflate", name, bytes([1, 0, 255, 31, 30]) + packed + calls
        yield "fuzz_one_call_inflate", f"any-{name}", bytes([2, 0, len(name) % 2 + 1, 11, 10, 1]) + bytes(9) + calls
    # Kind of run, level, window, hash, then rooms, block, split and dictionary of a stream, or tables of any content.
    for i, (name, data) in enumerate(texts()):
        window = (32512 - 4000 * i).to_bytes(2, "little")
        stream = bytes([0 if i % 2 else 140, 0, 0, 8, i % 2, i, i % 3]) + bytes([i % 3, 9, i])
        yield "fuzz_deflate_one_call", name, bytes([1, (3 * i + 1) % 10]) + window + bytes([8 - i]) + stream + data
        tables = (300 * i).to_bytes(2, "little") + bytes([i, 8]) + bytes(range(7 * i, 7 * i + 32)) + bytes([0, i % 4])
        yield "fuzz_deflate_one_call", f"tables-{name}", bytes([0, 3 * i % 10]) + window + bytes([i]) + tables + data
    for i, (name, data) in enumerate(texts()):
        yield "fuzz_bwt", name, bytes([i, 0, 1 + i * i, i % 4]) + bytes(range(2 * (i % 4))) + data
        for j, chain in enumerate(CHAINS):
            yield "fuzz_bzip2_roundtrip", f"{name}-{j}", chain + data
    generator = random.Random(5)
    for name, table in code_tables():
        yield "fuzz_vlc", name, table + generator.randbytes(300)
    generator = random.Random(2)
    for i in range(16):
        calls = generator.randbytes(2)
        for _ in range(generator.randint(5, 30)):
            calls += bytes([generator.randrange(256)]) + generator.randbytes(generator.randint(2, 40))
        yield "fuzz_hostile_pairs", f"calls-{i}", calls
    # Piece and room, their seed; literals first. Pieces, rooms and seeds of encoder and decoder; copies.
    for i, (name, data) in enumerate(texts()):
        yield "fuzz_lzss_decode", name, bytes([31 * i, 90 * i % 256, i % 3, 2 * i]) + lzss(data)
        options = bytes([70 * i % 256, 40 * i, i % 3, 31 * i, 90 * i % 256, i % 2, 9 * i])
        yield "fuzz_lzss_roundtrip", name, options + data
    # Sizes of rooms and pieces, a divisor or longest run, and for zero runs the length of a long one.
    for i, (name, data) in enumerate(texts()):
        yield "fuzz_zero_run", name, bytes([40 * i, i, 3 * i, 17 * i, 2 * i]) + data
        yield "fuzz_run_length", name, bytes([90 * i % 256, 2 * i, 31 * i, i % 2, 47 * i % 256, i % 3, 30 * i]) + data
    # Byte Huffman: the lengths' way and number, bytes for them, sizes of pieces and rooms, seed, repeats, a stream.
    for i, (name, lengths) in enumerate(huffman_lengths()):
        options = bytes([0, i % 3, len(lengths) - 1]) + lengths + bytes([19 * i, 90 * i % 256, i, 7, 60 * i % 256])
        yield "fuzz_huffman", name, options + generator.randbytes(150)
        yield "fuzz_huffman_lengths", name, bytes([5, i]) + lengths + bytes(260 if i % 2 else 0)
    for i, (name, data) in enumerate(texts()):
        yield "fuzz_huffman", f"bytes-{name}", bytes([1, 40 * i, i, 0, 9 * i]) + data
    # Strategy and, for whole streams, 128; the limit; or what makes bytes few and runs long.
    for i, (name, data) in enumerate(texts()):
        yield "fuzz_git_roundtrip", name, bytes([i, 3 * i, 20 * (i % 3)]) + data
        yield "fuzz_git_decode", f"streams-{name}", bytes([128 + i]) + (500 * i).to_bytes(2, "little") + data
    for i in range(6):
        pieces = [(255 - s).to_bytes(2, "big") * (1 + i % 3) for s in range(255)] + [bytes([0, 32 * i])]
        container = b"".join(len(piece).to_bytes(4, "big") + piece for piece in pieces)
        yield "fuzz_git_decode", f"container-{i}", bytes([i]) + (700).to_bytes(2, "little") + container


# LZO streams, token by token: what decoders meet seldom in bytes at random.
def lzo_streams():
    end = bytes([0x11, 0, 0])
    text = dict(texts())["text"]
    yield "literal", 0, 1, bytes([0x12, 0x41]) + end
    yield "run", 0, 300, bytes([0, 232]) + text[:250] + end
    yield "near", 0, 64, bytes([0x15]) + b"abcd" + bytes([0xEE, 0]) + b"xy" + end
    yield "middle", 0, 900, bytes([0x25]) + text[:20] + bytes([0x20, 0, 0, 9, 4, 0, 0x23, 0x4D, 0, 0x78]) + end
    yield "far", 0, 20000, bytes([0x12, 0x41, 0x20]) + bytes(65) + bytes([40, 0, 0, 0x13, 4, 0]) + end
    yield "twice", 0, 30, (bytes([0x16]) + text[:5] + bytes([0x60, 0, 2]) + text[:5] + bytes([0x40, 0]) + end) * 2
    chunk = bytes([0x1A]) + text[:9] + bytes([0x80, 0]) + end
    yield "container", 2, 28, bytes([len(chunk), 0]) + chunk * 2
    yield "containers", 3, 42, bytes([len(chunk), 0] * 2) + chunk * 3


def lzo_inputs():
    for name, chunks, room, stream in lzo_streams():
        yield "fuzz_lzo_decode", name, room.to_bytes(2, "little") + bytes([chunks]) + stream
    for i, (name, data) in enumerate(texts()):
        yield "fuzz_lzo_roundtrip", name, bytes([30 * i + 30]) + data


for target, name, content in [*inputs(), *lzo_inputs()]:
    folder = FOLDER / target
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_bytes(content)
