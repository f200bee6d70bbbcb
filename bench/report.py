#!/usr/bin/env python3
"""Prints bench_zeldc's measurements as tables beside the peers, and what is slower than a peer once more at the end.

Usage: report.py MEASUREMENTS.json [--table TABLE.tsv] [--chart RATIOS.svg] [--sizes SIZES.svg]

A ratio is our speed over the peer's: above 1 we are faster, below 1 a mark stands behind it. The table has a line for
each pair of rows, with columns separated by tabs and named in its first line:

  family, stage   as in the names of benchmarks
  case            our variant, where there are several, and where a family is measured by size, the size
  file            the file; "all files" for the sum; empty where a family is measured by size
  ours            our speed, 10^6 bytes a second
  peer_name       the peer, for a Deflate encoder with the fastest level that compresses as well; empty if there is none
  peer            its speed
  ratio           ours over peer
  kind            "peer", or "yardstick" for other work on the same data
  ours_bytes, peer_bytes   compressed sizes, where something is compressed
"""

import argparse
import re
import sys
from typing import NamedTuple, Optional

import chart
import size_chart
from measurements import ALL_FILES, LADDERS, TITLES, Family, Result, is_ours, read, stage_name

SLOWER = "▼"  # behind a ratio below 1


class Row(NamedTuple):
    """One of our results beside one peer's, or none."""

    family: str
    stage: str
    coder: str
    case: str
    of_files: bool
    ours: Result
    peer_name: str = ""
    peer: Optional[Result] = None
    yardstick: bool = False

    @property
    def ratio(self) -> float:
        return self.ours.speed / self.peer.speed

    @property
    def label(self) -> str:
        return row_label(self.family, self.stage, self.coder, self.case)

    @property
    def slower(self) -> bool:
        return self.peer is not None and not self.yardstick and self.ratio < 1

    def columns(self) -> list:
        variant = variant_of(self.coder)
        case, file = (variant, self.case) if self.of_files else (", ".join(filter(None, (variant, self.case))), "")
        columns = [self.family, self.stage, case, file, f"{self.ours.speed:.2f}", self.peer_name]
        columns += [f"{self.peer.speed:.2f}", f"{self.ratio:.3f}"] if self.peer else ["", ""]
        columns.append("" if not self.peer else "yardstick" if self.yardstick else "peer")
        for result in self.ours, self.peer:
            columns.append(f"{result.output:.0f}" if result and result.output else "")
        return columns


COLUMNS = ["family", "stage", "case", "file", "ours", "peer_name", "peer", "ratio", "kind", "ours_bytes", "peer_bytes"]


def variant_of(coder: str) -> str:
    return coder.removeprefix("zeldc").removeprefix("-")


def row_label(family: str, stage: str, coder: str, case: str) -> str:
    return ", ".join(part for part in (stage_name(family, stage), variant_of(coder), case) if part)


def number(value: float) -> str:
    return f"{value:,.0f}" if value >= 100 else f"{value:.1f}"


def ratio_text(row: Row) -> str:
    digits = 2 if row.ratio >= 0.1 else 4
    return f"{row.ratio:.{digits}f}" + (f" {SLOWER}" if row.slower else "  ")


def print_table(header: list, rows: list):
    """The first column is text, the others are aligned to the right."""
    widths = [max(len(row[i]) for row in [header] + rows) for i in range(len(header))]
    for row in [header] + rows:
        cells = [row[0].ljust(widths[0])] + [cell.rjust(width) for cell, width in zip(row[1:], widths[1:])]
        print("  ".join(cells).rstrip())


def our_rows(family: Family):
    """Each of our results, without a peer."""
    for stage in family.stages:
        for coder in family.ours():
            for case in family.cases:
                ours = family.get(stage, coder, case)
                if ours:
                    yield Row(family.name, stage, coder, case, family.of_files, ours)


def rows_of(family: Family):
    """Each of our results, as a list of rows beside every peer of the same stage and case, or one without a peer."""
    for alone in our_rows(family):
        rows = []
        for peer in family.coders:
            result = None if is_ours(peer) else family.get(alone.stage, peer, alone.case)
            if result:
                rows.append(alone._replace(peer_name=peer, peer=result, yardstick=family.is_yardstick(peer)))
        yield rows or [alone]


def report_side_by_side(family: Family) -> list:
    """Prints every row, a table for the stages that have the same peers; returns the rows."""
    all_rows = []
    tables = {}  # by the peers' names, which their order of registration sorts
    for rows in rows_of(family):
        all_rows += rows
        peers = tuple(peer for peer in family.coders if family.has(rows[0].stage, peer) and not is_ours(peer))
        found = {row.peer_name: row for row in rows}
        line = [rows[0].label, number(rows[0].ours.speed)]
        for peer in peers:
            line += [number(found[peer].peer.speed), ratio_text(found[peer])] if peer in found else ["", ""]
        tables.setdefault(peers, []).append(line)
    for i, (peers, lines) in enumerate(tables.items()):
        if i:
            print()
        print_table(["", "zeldc"] + [cell for peer in peers for cell in (peer, "ratio  ")], lines)
    report_sizes(all_rows)
    report_symbols(family)
    report_cost(family)
    return all_rows


def report_sizes(rows: list):
    """Prints what a stage that compresses makes of the files, beside the peers."""
    lines = []
    for row in rows:
        if row.peer and row.ours.output and row.peer.output:
            larger = 100 * (row.ours.output / row.peer.output - 1)
            lines.append([row.label, f"{row.ours.output:,.0f}", row.peer_name, f"{row.peer.output:,.0f}",
                          f"{larger:+.2f}"])
    if lines:
        print("\nCompressed bytes")
        print_table(["", "zeldc", "peer", "", "% larger"], lines)


def report_symbols(family: Family):
    """Prints the time for a symbol where a family works on symbols."""
    lines = []
    for stage in family.stages:
        for coder in family.coders:
            results = [family.get(stage, coder, case) for case in family.cases]
            if all(result and result.symbols for result in results):
                times = [f"{1e9 * result.seconds / result.symbols:.2f}" for result in results]
                lines.append([stage_name(family.name, stage) + ", " + coder] + times)
    if lines:
        print("\nNanoseconds a symbol")
        print_table([""] + family.cases, lines)


def report_cost(family: Family):
    """Prints the time for a byte by the size of calls."""
    if family.name not in LADDERS:
        return
    lines = []
    for stage in family.stages:
        for coder in family.coders:
            results = [family.get(stage, coder, case) for case in family.cases]
            if any(results):
                times = [f"{1e9 * result.seconds / result.size:.3f}" if result else "" for result in results]
                lines.append([stage_name(family.name, stage) + ", " + coder] + times)
    print("\nNanoseconds a byte")
    print_table([""] + family.cases, lines)


def fair_level(family: Family, peer: str, case: str, ours: Result):
    """The peer's fastest level that compresses at least as well as we do, as (level, result), or None."""
    levels = []
    for coder in family.coders:
        match = re.fullmatch(re.escape(peer) + r"-(\d+)", coder)
        result = family.get("whole", coder, case) if match else None
        if result and result.output <= ours.output:
            levels.append((match.group(1), result))
    return max(levels, key=lambda level: level[1].speed, default=None)


def report_levels(family: Family) -> list:
    """Prints our levels, each beside the peers' fastest level that compresses at least as well; returns the rows."""
    peers = list(dict.fromkeys(re.sub(r"-\d+$", "", coder) for coder in family.coders if not is_ours(coder)))
    header = ["", "%", "zeldc"] + [cell for peer in peers for cell in (peer, "%", "MB/s", "ratio  ")]
    lines, all_rows = [], []
    for alone in our_rows(family):
        ours = alone.ours
        line = [alone.label, f"{ours.percent:.2f}" if ours.output else "", number(ours.speed)]
        rows = []
        for peer in peers:
            level = fair_level(family, peer, alone.case, ours) if ours.output else None
            if level:
                rows.append(alone._replace(peer_name=f"{peer}-{level[0]}", peer=level[1]))
                line += ["-" + level[0], f"{level[1].percent:.2f}", number(level[1].speed), ratio_text(rows[-1])]
            else:
                line += ["none" if ours.output else "", "", "", ""]
        lines.append(line)
        all_rows += rows or [alone]
    print_table(header, lines)
    print("\nA peer's level is the fastest that compresses at least as well as ours; none: no level does.")

    case = family.cases[-1]
    lines = []
    for coder in family.ours():
        search, blocks = family.get("search", coder, case), family.get("blocks", coder, case)
        if search and blocks:
            share = 100 * blocks.seconds / (blocks.seconds + search.seconds)
            lines.append([coder, number(search.speed), number(blocks.speed), f"{share:.1f}"])
    if lines:
        print(f"\nParts, {case}")
        print_table(["", "search", "block writing", "% of the time"], lines)

    lines = []
    for coder in family.coders:
        result = family.get("whole", coder, case)
        if result:
            lines.append([coder, f"{result.percent:.2f}", number(result.speed)])
    print(f"\nLevels, {case}, whole buffers")
    print_table(["", "%", "MB/s"], lines)
    return all_rows


def report_slower(rows: list):
    compared = [row for row in rows if row.peer and not row.yardstick]
    slower = sorted((row for row in compared if row.slower), key=lambda row: row.ratio)
    print(f"\nBelow 1.0: {len(slower)} of {len(compared)} rows, the slowest first")
    if slower:
        lines = [[TITLES.get(row.family, row.family), row.label, row.peer_name, ratio_text(row)]
                 for row in slower]
        widths = [max(len(line[i]) for line in lines) for i in range(4)]
        for line in lines:
            print("  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip())


def bars_of(family: Family, rows: list) -> list:
    """The chart's bars, without yardsticks: of files those over all, of sizes a short, a middle and the longest."""
    cases = family.cases
    if family.of_files:
        cases = cases[-1:]
    elif family.name in LADDERS:
        cases = ["64 B", "32 KiB", cases[-1]]
    if family.name == "sizes":
        return []  # has a chart of its own
    bars = {}
    for row in rows:
        if row.case in cases and row.peer and not row.yardstick:
            label = row_label(row.family, row.stage, row.coder, "" if row.case == ALL_FILES else row.case)
            level = f" level {row.peer_name.rsplit('-', 1)[1]}" if family.name == "deflate" else ""
            name = row.peer_name.rsplit("-", 1)[0] if level else row.peer_name
            bars.setdefault(label, []).append((name, row.ratio, level))
    return list(bars.items())


def write(path: str, text: str):
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("measurements")
    parser.add_argument("--table", help="write all rows there, separated by tabs")
    parser.add_argument("--chart", help="draw the ratios there")
    parser.add_argument("--sizes", help="draw the cost by size there")
    arguments = parser.parse_args()
    sys.stdout.reconfigure(encoding="utf-8")

    families = read(arguments.measurements)
    sections, all_rows, size = [], [], 0
    for name, family in families.items():
        if family.of_files:
            size = sum(result.size for (stage, coder, _), result in family.results.items()
                       if (stage, coder) == (family.stages[0], family.coders[0]))
            family.add_all_files()
        title = TITLES.get(name, name)
        print(f"\n{title} (MB/s)")
        rows = report_levels(family) if name == "deflate" else report_side_by_side(family)
        all_rows += rows
        sections.append((title, bars_of(family, rows)))
    report_slower(all_rows)

    note = f"files of {size / 1e6:.1f} MB in all" if size else ""
    if arguments.table:
        lines = [COLUMNS] + [row.columns() for row in all_rows]
        write(arguments.table, "".join("\t".join(line) + "\n" for line in lines))
    if arguments.chart:
        write(arguments.chart, chart.draw(sections, note))
    if arguments.sizes:
        write(arguments.sizes, size_chart.draw([families[name] for name in LADDERS if name in families]))


if __name__ == "__main__":
    main()
