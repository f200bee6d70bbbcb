#!/usr/bin/env python3
"""Prints bench_zeldc's measurements as tables beside the peers, and draws the ratios as a chart.

Usage: report.py MEASUREMENTS.json [CHART.svg]

A benchmark is called family/stage/coder/case. Coders called zeldc or zeldc-something are ours, the others are peers.
A ratio is our speed over the peer's: above 1 we are faster. Speeds are medians over the repetitions, in 10^6 bytes of
uncompressed data a second of processor time, for dictionary reduction of real time.
"""

import json
import re
import statistics
import sys
from collections import defaultdict
from typing import NamedTuple, Optional

from chart import draw

TITLES = {"checksum": "Checksums", "bwt": "Burrows-Wheeler transform", "stages": "Stages of block sorting",
          "bzip2-huffman": "bzip2 Huffman stage",
          "vlc": "Variable-length codes, by the block",
          "bzip2": "bzip2, the whole chain in one thread", "reduction": "Dictionary reduction",
          "huffman": "Byte Huffman coder", "git": "Interval coding",
          "inflate": "Deflate decoding", "deflate": "Deflate encoding"}
STAGES = {"adler32": "Adler-32", "crc32": "CRC-32", "crc32c": "CRC-32C", "crc32bz2": "bzip2 CRC",
          "mtf-forward": "move-to-front", "mtf-inverse": "inverse move-to-front",
          "zero-run-encode": "zero runs, encoding", "zero-run-decode": "zero runs, decoding",
          "run-length-encode": "bzip2 run lengths, encoding", "run-length-decode": "bzip2 run lengths, decoding",
          "pairs-encode": "plain run lengths, encoding", "pairs-decode": "plain run lengths, decoding",
          "init": "making of codes", "count": "counting of bits",
          "encode": "writing of symbols", "decode": "reading of a block",
          "bytes-encode": "encoding", "bytes-decode": "decoding",
          "compress": "compressing", "decompress": "decompressing",
          "encode-64KiB": "encoding, blocks of 64 KiB", "decode-64KiB": "decoding, blocks of 64 KiB",
          "encode-1MiB": "encoding, blocks of 1 MiB", "decode-1MiB": "decoding, blocks of 1 MiB",
          "whole": "whole buffers", "64KiB": "64 KiB buffers"}
# Families whose cases are files; elsewhere they are sizes.
OF_FILES = ("bwt", "stages", "bzip2-huffman", "bzip2", "huffman", "git", "inflate", "deflate")
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

    def __init__(self, of_files: bool):
        self.of_files = of_files
        self.results = {}
        self.stages, self.coders, self.cases = [], [], []

    def add(self, stage: str, coder: str, case: str, result: Result):
        self.results[stage, coder, case] = result
        for seen, name in (self.stages, stage), (self.coders, coder), (self.cases, case):
            if name not in seen:
                seen.append(name)

    def get(self, stage: str, coder: str, case: str) -> Optional[Result]:
        return self.results.get((stage, coder, case))

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
        family = families.setdefault(key, Family(key in OF_FILES))
        seconds = statistics.median(run.seconds for run in runs)
        family.add(stage, coder, case if family.of_files else size_label(case), runs[0]._replace(seconds=seconds))
    return families


def number(value: float) -> str:
    return f"{value:,.0f}" if value >= 100 else f"{value:.1f}"


def print_table(header: list, rows: list):
    """The first column is text, the others are aligned to the right."""
    widths = [max(len(row[i]) for row in [header] + rows) for i in range(len(header))]
    for row in [header] + rows:
        cells = [row[0].ljust(widths[0])] + [cell.rjust(width) for cell, width in zip(row[1:], widths[1:])]
        print("  ".join(cells).rstrip())


def size_label(text: str) -> str:
    size = int(text)
    for unit, name in ((1 << 20, "MiB"), (1 << 10, "KiB")):
        if size >= unit:
            return f"{size // unit} {name}"
    return f"{size} B"


def side_by_side(family: Family):
    """Rows that meet each of our coders with every peer of the same stage and case.

    Yields the row's stage, coder, case, our result, and (peer, result) pairs.
    """
    for stage in family.stages:
        for coder in family.ours():
            for case in family.cases:
                ours = family.get(stage, coder, case)
                peers = [(peer, family.get(stage, peer, case)) for peer in family.coders if not is_ours(peer)]
                peers = [(peer, result) for peer, result in peers if result]
                if ours and peers:
                    yield stage, coder, case, ours, peers


def row_label(stage: str, coder: str, case: str) -> str:
    path = coder.removeprefix("zeldc").removeprefix("-")
    return ", ".join(part for part in (STAGES.get(stage, stage), path, case) if part)


def report_side_by_side(family: Family):
    """Prints every row; returns the chart's bars: of files, only those over all of them."""
    peers = [coder for coder in family.coders if not is_ours(coder)]
    header = ["", "zeldc"] + [cell for peer in peers for cell in (peer, "ratio")]
    rows, bars = [], []
    for stage, coder, case, ours, results in side_by_side(family):
        found = dict(results)
        row = [row_label(stage, coder, case), number(ours.speed)]
        for peer in peers:
            row += [number(found[peer].speed), f"{ours.speed / found[peer].speed:.2f}"] if peer in found else ["", ""]
        rows.append(row)
        if case == family.cases[-1] or not family.of_files:
            label = row_label(stage, coder, "" if case == ALL_FILES else case)
            bars.append((label, [(peer, ours.speed / result.speed, "") for peer, result in results]))
    print_table(header, rows)
    report_sizes(family)
    report_symbols(family)
    return bars


def report_sizes(family: Family):
    """Prints what a stage that compresses makes of the files, beside the peers."""
    rows = []
    for stage, coder, case, ours, peers in side_by_side(family):
        for peer, result in peers:
            if ours.output and result.output:
                larger = 100 * (ours.output / result.output - 1)
                rows.append([row_label(stage, coder, case), f"{ours.output:,.0f}", peer, f"{result.output:,.0f}",
                             f"{larger:+.2f}"])
    if rows:
        print("\nCompressed bytes")
        print_table(["", "zeldc", "peer", "", "% larger"], rows)


def report_symbols(family: Family):
    """Prints the time for a symbol where a family works on symbols."""
    rows = []
    for stage in family.stages:
        for coder in family.coders:
            results = [family.get(stage, coder, case) for case in family.cases]
            if all(result and result.symbols for result in results):
                times = [f"{1e9 * result.seconds / result.symbols:.2f}" for result in results]
                rows.append([STAGES.get(stage, stage) + ", " + coder] + times)
    if rows:
        print("\nNanoseconds a symbol")
        print_table([""] + family.cases, rows)


def fair_level(family: Family, peer: str, case: str, ours: Result):
    """The peer's fastest level that compresses at least as well as we do, as (level, result), or None."""
    levels = []
    for coder in family.coders:
        match = re.fullmatch(re.escape(peer) + r"-(\d+)", coder)
        result = family.get("whole", coder, case) if match else None
        if result and result.output <= ours.output:
            levels.append((match.group(1), result))
    return max(levels, key=lambda level: level[1].speed, default=None)


def report_levels(family: Family):
    """Prints our levels, each beside the peers' fastest level that compresses at least as well; returns the bars."""
    peers = list(dict.fromkeys(re.sub(r"-\d+$", "", coder) for coder in family.coders if not is_ours(coder)))
    header = ["", "%", "zeldc"] + [cell for peer in peers for cell in (peer, "%", "MB/s", "ratio")]
    rows, bars = [], []
    for stage in family.stages:
        for coder in family.ours():
            for case in family.cases:
                ours = family.get(stage, coder, case)
                if not ours or not ours.output:
                    continue
                row = [row_label(stage, coder, case), f"{ours.percent:.2f}", number(ours.speed)]
                ratios = []
                for peer in peers:
                    level = fair_level(family, peer, case, ours)
                    if level:
                        ratio = ours.speed / level[1].speed
                        row += ["-" + level[0], f"{level[1].percent:.2f}", number(level[1].speed), f"{ratio:.2f}"]
                        ratios.append((peer, ratio, f" level {level[0]}"))
                    else:
                        row += ["none", "", "", ""]
                rows.append(row)
                if case == family.cases[-1] and ratios:
                    bars.append((row_label(stage, coder, "" if case == ALL_FILES else case), ratios))
    print_table(header, rows)
    print("\nA peer's level is the fastest that compresses at least as well as ours; none: no level does.")

    case = family.cases[-1]
    rows = []
    for coder in family.ours():
        search, blocks = family.get("search", coder, case), family.get("blocks", coder, case)
        if search and blocks:
            share = 100 * blocks.seconds / (blocks.seconds + search.seconds)
            rows.append([coder, number(search.speed), number(blocks.speed), f"{share:.1f}"])
    if rows:
        print(f"\nParts, {case}")
        print_table(["", "search", "block writing", "% of the time"], rows)

    rows = []
    for coder in family.coders:
        result = family.get("whole", coder, case)
        if result:
            rows.append([coder, f"{result.percent:.2f}", number(result.speed)])
    print(f"\nLevels, {case}, whole buffers")
    print_table(["", "%", "MB/s"], rows)
    return bars


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    families = read(sys.argv[1])
    sections, size = [], 0
    for name, family in families.items():
        if family.of_files:
            size = sum(result.size for (stage, coder, _), result in family.results.items()
                       if (stage, coder) == (family.stages[0], family.coders[0]))
            family.add_all_files()
        title = TITLES.get(name, name)
        print(f"\n{title} (MB/s)")
        bars = report_levels(family) if name == "deflate" else report_side_by_side(family)
        sections.append((title, bars))
    if len(sys.argv) == 3:
        note = f"files of {size / 1e6:.1f} MB in all" if size else ""
        with open(sys.argv[2], "w", encoding="utf-8") as file:
            file.write(draw(sections, note))


if __name__ == "__main__":
    main()
