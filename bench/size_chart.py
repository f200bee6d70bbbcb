"""Draws the cost of a byte by the size of a call: a panel for each stage, a line for each coder, both axes logarithmic,
as an SVG for light and dark pages."""

import math
from xml.sax.saxutils import escape

from measurements import Family, is_ours, size_bytes, stage_name

WIDTH, COLUMNS = 760, 3
LEFT, RIGHT, TOP, BOTTOM = 40, 12, 46, 26  # around a panel's plot
PLOT_HEIGHT = 120
PANEL_WIDTH, PANEL_HEIGHT = WIDTH // COLUMNS, TOP + PLOT_HEIGHT + BOTTOM
HEAD = 48

STYLE = """
  text { font: 10px system-ui, sans-serif; fill: #6a737d; }
  .title { font-size: 12px; font-weight: 600; }
  .note { font-size: 12px; }
  .grid { stroke: #8888; stroke-width: 0.5; }
  path { fill: none; stroke-width: 1.5; stroke-linejoin: round; }
  .ours0 { stroke: #3f87c5; stroke-width: 2.5; } text.ours0 { fill: #3f87c5; stroke: none; }
  .ours1 { stroke: #3f87c5; stroke-width: 2; stroke-dasharray: 5 2; } text.ours1 { fill: #3f87c5; stroke: none; }
  .peer0 { stroke: #d9822b; } text.peer0 { fill: #d9822b; stroke: none; }
  .peer1 { stroke: #6b9e4f; } text.peer1 { fill: #6b9e4f; stroke: none; }
  @media (prefers-color-scheme: light) { text { fill: #24292f; } }
  @media (prefers-color-scheme: dark) { text { fill: #d0d7de; } }
"""


def curves(family: Family, stage: str) -> list:
    """(coder, class, [(bytes, nanoseconds a byte)]), ours first."""
    found, counts = [], {"ours": 0, "peer": 0}
    for coder in sorted(family.coders, key=lambda name: not is_ours(name)):
        points = [(size_bytes(case), 1e9 * result.seconds / result.size) for case in family.cases
                  if (result := family.get(stage, coder, case)) and size_bytes(case) >= 8]
        if len(points) > 1:
            kind = "ours" if is_ours(coder) else "peer"
            found.append((coder, f"{kind}{min(counts[kind], 1)}", points))
            counts[kind] += 1
    return found


def panel(out: list, left: int, top: int, title: str, lines: list):
    def text(x: float, y: float, words: str, anchor: str = "start", kind: str = ""):
        style = f' class="{kind}"' if kind else ""
        out.append(f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}"{style}>{escape(words)}</text>')

    text(left + 8, top + 14, title, kind="title")
    at = left + LEFT
    for coder, kind, _ in lines:
        text(at, top + 28, coder, kind=kind)
        at += 8 + 5.4 * len(coder)

    sizes = [size for _, _, points in lines for size, _ in points]
    costs = [cost for _, _, points in lines for _, cost in points]
    low, high = math.floor(math.log10(min(costs))), math.ceil(math.log10(max(costs)))
    high = max(high, low + 1)
    first, last = math.log2(min(sizes)), math.log2(max(sizes))
    width = PANEL_WIDTH - LEFT - RIGHT

    def x(size: float) -> float:
        return left + LEFT + (math.log2(size) - first) / (last - first) * width

    def y(cost: float) -> float:
        return top + TOP + (high - math.log10(cost)) / (high - low) * PLOT_HEIGHT

    for power in range(low, high + 1):
        out.append(f'<line class="grid" x1="{left + LEFT}" x2="{left + LEFT + width}" y1="{y(10**power):.1f}" '
                   f'y2="{y(10**power):.1f}"/>')
        text(left + LEFT - 4, y(10**power) + 3, f"{10.0**power:g}", "end")
    for size, name in ((64, "64 B"), (4096, "4 K"), (1 << 18, "256 K"), (1 << 24, "16 M")):
        if first <= math.log2(size) <= last:
            out.append(f'<line class="grid" x1="{x(size):.1f}" x2="{x(size):.1f}" y1="{top + TOP}" '
                       f'y2="{top + TOP + PLOT_HEIGHT}"/>')
            text(x(size), top + TOP + PLOT_HEIGHT + 13, name, "middle")
    for coder, kind, points in reversed(lines):  # ours above the others
        line = " ".join(f"{'L' if i else 'M'}{x(size):.1f},{y(cost):.1f}" for i, (size, cost) in enumerate(points))
        out.append(f'<path class="{kind}" d="{line}"><title>{escape(title)}: {escape(coder)}</title></path>')


def draw(families: list) -> str:
    panels = []
    for family in families:
        for stage in family.stages:
            lines = curves(family, stage)
            if lines:
                panels.append((("VLC, " if family.name == "vlc" else "") + stage_name(family.name, stage), lines))
    height = HEAD + PANEL_HEIGHT * math.ceil(len(panels) / COLUMNS)
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height}" '
           f'viewBox="0 0 {WIDTH} {height}" role="img" aria-label="Cost of a byte by the size of a call">',
           f"<style>{STYLE}</style>",
           '<text x="8" y="18" class="title">Nanoseconds a byte by the size of a call: lower is faster</text>',
           '<text x="8" y="34" class="note">both axes logarithmic; medians of one run on one thread</text>']
    for i, (title, lines) in enumerate(panels):
        panel(out, i % COLUMNS * PANEL_WIDTH, HEAD + i // COLUMNS * PANEL_HEIGHT, title, lines)
    return "\n".join(out + ["</svg>", ""])
