"""The measurements of bench_zeldc: what it writes, by family, stage, coder and case.

A benchmark is called family/stage/coder/case. Coders called zeldc or zeldc-something are ours, the others are peers, or
yardsticks: other work on the same data, for orientation. Speeds are medians over the repetitions, in 10^6 bytes of
uncompressed data a second of processor time, for dictionary reduction and for threads of real time.
"""

import json
import statistics
from collections import defaultdict
from typing import NamedTuple, Optional

TITLES = {"checksum": "Checksums", "bwt": "Burrows-Wheeler transform", "stages": "Stages of block sorting",
          "bzip2-huffman": "bzip2 Huffman stage",
          "vlc": "Variable-length codes, by size of calls",
          "bzip2": "bzip2, the whole chain in one thread", "reduction": "Dictionary reduction",
          "git": "Interval coding", "huffman": "Byte Huffman coder",
          "inflate": "Deflate decoding", "deflate": "Deflate encoding",
          "lzss": "LZSS", "lzo": "LZO", "lzo-threads": "LZO by threads", "sizes": "Buffers by size"}
STAGES = {"adler32": "Adler-32", "crc32": "CRC-32", "crc32c": "CRC-32C", "crc32bz2": "bzip2 CRC",
          "mtf-forward": "move-to-front", "mtf-inverse": "inverse move-to-front",
          "zero-run-encode": "zero runs, encoding", "zero-run-decode": "zero runs, decoding",
          "run-length-encode": "bzip2 run lengths, encoding", "run-length-decode": "bzip2 run lengths, decoding",
          "pairs-encode": "plain run lengths, encoding", "pairs-decode": "plain run lengths, decoding",
          "bytes-encode": "encoding", "bytes-decode": "decoding",
          "init": "making of codes", "count": "counting of bits",
          "encode": "writing of symbols", "decode": "reading of a block",
          "compress": "compressing", "decompress": "decompressing",
          "encode-64KiB": "encoding, blocks of 64 KiB", "decode-64KiB": "decoding, blocks of 64 KiB",
          "encode-1MiB": "encoding, blocks of 1 MiB", "decode-1MiB": "decoding, blocks of 1 MiB",
          "whole": "whole buffers", "64KiB": "64 KiB buffers",
          "deflate-fast": "Deflate, fast level", "inflate": "Inflate", "lzo-compress": "LZO, compressing",
          "lzo-decompress": "LZO, decompressing", "huffman-encode": "byte Huffman, encoding",
          "huffman-decode": "byte Huffman, decoding", "transform": "Burrows-Wheeler transform",
          "inverse": "inverse transform"}
# Where a family means something else by a stage.
STAGES_OF = {("vlc", "encode"): "encoding", ("vlc", "decode"): "decoding"}
# Families whose cases are files; elsewhere they are sizes.
OF_FILES = ("bwt", "stages", "bzip2-huffman", "bzip2", "git", "huffman", "inflate", "deflate", "lzss", "lzo",
            "lzo-threads")
# Families whose cases are sizes of calls, from very short to very long.
LADDERS = ("checksum", "vlc", "sizes")
# No peers: other work, or work in part.
YARDSTICKS = {("checksum", "own CRC-32"), ("vlc", "memcpy"), ("git", "memcpy"), ("git", "zlib-1"),
              ("lzss", "deflate-search"), ("lzss", "zlib-inflate")}
ALL_FILES = "all files"
REAL_TIME = "/real_time"  # ends the names of benchmarks with threads, whose speed the clock on the wall tells


class Result(NamedTuple):
    size: float  # bytes of uncompressed data
    seconds: float
    output: float  # bytes of compressed data; 0 where nothing is compressed
    symbols: float  # worked on; 0 where there are none

    @property
    def speed(self) -> float:
        return self.size / self.seconds / 1e6

    @property
    def percent(self) -> float:
        return 100 * self.output / self.size


class Family:
    """The results of one family by stage, coder and case; the orders are those of registration."""

    def __init__(self, name: str):
        self.name = name
        self.of_files = name in OF_FILES
        self.results = {}
        self.stages, self.coders, self.cases = [], [], []

    def add(self, stage: str, coder: str, case: str, result: Result):
        self.results[stage, coder, case] = result
        for seen, name in (self.stages, stage), (self.coders, coder), (self.cases, case):
            if name not in seen:
                seen.append(name)

    def get(self, stage: str, coder: str, case: str) -> Optional[Result]:
        return self.results.get((stage, coder, case))

    def is_yardstick(self, coder: str) -> bool:
        return (self.name, coder) in YARDSTICKS

    def has(self, stage: str, coder: str) -> bool:
        return any((stage, coder, case) in self.results for case in self.cases)

    def ours(self):
        return [coder for coder in self.coders if is_ours(coder)]

    def add_all_files(self):
        """Adds the sums over all files as one more case."""
        files = list(self.cases)
        if len(files) < 2:
            return
        for stage in self.stages:
            for coder in self.coders:
                parts = [self.get(stage, coder, case) for case in files]
                if None not in parts:
                    self.add(stage, coder, ALL_FILES, Result(*(sum(column) for column in zip(*parts))))


def is_ours(coder: str) -> bool:
    return coder == "zeldc" or coder.startswith("zeldc-")


def read(path: str) -> dict:
    with open(path, encoding="utf-8") as file:
        entries = sorted(json.load(file)["benchmarks"], key=lambda entry: entry["family_index"])  # as registered
    samples = defaultdict(list)
    for entry in entries:
        if entry.get("run_type", "iteration") == "iteration":
            unit = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}[entry["time_unit"]]
            name = entry["name"].removesuffix(REAL_TIME)
            seconds = entry["cpu_time" if name == entry["name"] else "real_time"] * unit
            samples[name].append(
                Result(entry["bytes_per_second"] * seconds, seconds, entry.get("output", 0),
                       entry.get("symbols", 0)))
    families = {}
    for name, runs in samples.items():
        key, stage, coder, case = name.split("/", 3)
        family = families.setdefault(key, Family(key))
        seconds = statistics.median(run.seconds for run in runs)
        family.add(stage, coder, case if family.of_files else size_label(case), runs[0]._replace(seconds=seconds))
    return families


def size_label(text: str) -> str:
    size = int(text)
    for unit, name in ((1 << 20, "MiB"), (1 << 10, "KiB")):
        if size >= unit:
            return f"{size // unit} {name}"
    return f"{size} B"


def stage_name(family: str, stage: str) -> str:
    return STAGES_OF.get((family, stage)) or STAGES.get(stage, stage)


def size_bytes(label: str) -> int:
    """What size_label made a label of."""
    count, unit = label.split()
    return int(count) * {"B": 1, "KiB": 1 << 10, "MiB": 1 << 20}[unit]
