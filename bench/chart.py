"""Draws speed ratios as bars that grow to both sides of the line at 1, as an SVG for light and dark pages."""

import math
from xml.sax.saxutils import escape

WIDTH = 760
LEFT, RIGHT = 240, 700  # of the plotting area
BAR, GAP, TITLE = 11, 7, 30  # heights: of a bar, between rows, of a section's title

# Colours of middle lightness, which stand out on white and on black. The text follows the page where it can.
STYLE = """
  text { font: 12px system-ui, sans-serif; fill: #6a737d; }
  .title { font-weight: 600; }
  .value { font-size: 10px; }
  .grid { stroke: #8888; stroke-width: 0.5; }
  .one { stroke: #6a737d; stroke-width: 1.5; }
  .peer0 { fill: #3f87c5; }
  .peer1 { fill: #d9822b; }
  .other { fill: #6b9e4f; }
  @media (prefers-color-scheme: light) { text { fill: #24292f; } .one { stroke: #24292f; } }
  @media (prefers-color-scheme: dark) { text { fill: #d0d7de; } .one { stroke: #d0d7de; } }
"""


def draw(sections: list, note: str) -> str:
    """sections: (title, [(label, [(peer, ratio, remark)])]); returns the SVG's text."""
    sections = [(title, rows) for title, rows in sections if rows]
    ratios = [ratio for _, rows in sections for _, bars in rows for _, ratio, _ in bars]
    low = min(-1, math.floor(math.log2(min(ratios, default=1))))
    high = max(1, math.ceil(math.log2(max(ratios, default=1))))
    colours = {}  # the two most frequent peers have a colour each, the rest share one
    names = [peer for _, rows in sections for _, bars in rows for peer, _, _ in bars]
    for i, peer in enumerate(sorted(set(names), key=lambda name: (-names.count(name), names.index(name)))):
        colours[peer] = f"peer{i}" if i < 2 else "other"

    def x(ratio: float) -> float:
        return LEFT + (math.log2(ratio) - low) / (high - low) * (RIGHT - LEFT)

    out = []

    def text(x_at: float, y_at: float, words: str, anchor: str = "start", kind: str = ""):
        style = f' class="{kind}"' if kind else ""
        out.append(f'<text x="{x_at:.1f}" y="{y_at:.1f}" text-anchor="{anchor}"{style}>{escape(words)}</text>')

    text(16, 20, "Speed of zeldc over the speed of its peers: right of the line zeldc is faster", kind="title")
    text(16, 36, "medians of one run on one thread" + (", " + note if note else ""))
    at = 16
    for peer, colour in colours.items():
        out.append(f'<rect x="{at}" y="46" width="10" height="10" class="{colour}"/>')
        text(at + 14, 55, peer)
        at += 32 + 7 * len(peer)

    top = y = 84
    for title, rows in sections:
        text(16, y + 16, title, kind="title")
        y += TITLE
        for label, bars in rows:
            text(LEFT - 12, y + BAR * len(bars) / 2 + 4, label, "end")
            for peer, ratio, remark in bars:
                start, end = sorted((x(1), x(ratio)))
                hint = escape(f"{label}: {ratio:.2f} x {peer}{remark}")
                out.append(f'<rect x="{start:.1f}" y="{y}" width="{end - start:.1f}" height="{BAR - 1}" '
                           f'class="{colours[peer]}"><title>{hint}</title></rect>')
                text(end + 4, y + 9, f"{ratio:.2f}{remark}", kind="value")  # never left, where the labels are
                y += BAR
            y += GAP

    lines = []
    for power in range(low, high + 1):
        name = str(2**power) if power >= 0 else f"1/{2**-power}"
        text(x(2**power), top - 6, name, "middle", "value")
        lines.append(f'<line x1="{x(2**power):.1f}" x2="{x(2**power):.1f}" y1="{top}" y2="{y}" '
                     f'class="{"one" if power == 0 else "grid"}"/>')
    height = y + 12
    head = (f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height}" '
            f'viewBox="0 0 {WIDTH} {height}" role="img" aria-label="Speed of zeldc over the speed of its peers">')
    return "\n".join([head, f"<style>{STYLE}</style>"] + lines + out + ["</svg>", ""])
