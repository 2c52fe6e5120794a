#!/usr/bin/env python3
"""Plots the eye of each data pin from a burst, and prints its opening.

    eye.py run/.VX-trace/data/board.freq2.cap.txt eye.svg

The marks "# %%" divide it into cells for editors that run them one by one. Needs only the module orvtrace.
"""

# %% The burst: levels of the clock and the data pins, sample by sample.
import sys
from pathlib import Path
from typing import Dict, List, Tuple

import orvtrace

SKIPPED = 16  # samples at the start that the receiver's analysis skips, too


def clock_edges(burst: orvtrace.Burst) -> List[int]:
    """Both edges carry data."""
    return [edge for edge in burst.changes("clock") if edge >= SKIPPED]


# %% Where the data change, relative to the clock edge at which they are taken.
def distances(burst: orvtrace.Burst, pin: str) -> Tuple[Dict[int, int], int]:
    """How often the pin changes so many samples after a clock edge (negative: before it); and the half period."""
    edges = clock_edges(burst)
    half = round((edges[-1] - edges[0]) / (len(edges) - 1))
    counts: Dict[int, int] = {}
    for change in burst.changes(pin):
        if not edges[0] <= change <= edges[-1]:
            continue
        nearest = min(edges, key=lambda edge: abs(edge - change))
        counts[change - nearest] = counts.get(change - nearest, 0) + 1
    return counts, half


def opening(counts: Dict[int, int], half: int) -> Tuple[int, int]:
    """Samples without any change before and after the clock edge: setup and hold margin."""
    before = [-offset for offset in counts if offset <= 0]
    after = [offset for offset in counts if offset > 0]
    return min(before, default=half), min(after, default=half)


# %% A picture: a row for each pin, time to the right, the clock edge in the middle.
def picture(burst: orvtrace.Burst) -> str:
    step, height, left = 16, 46, 80
    nanoseconds = burst.nanoseconds(1)
    rows: List[str] = []
    pins = burst.names[1:]
    half = distances(burst, pins[0])[1]
    middle = left + (half + 1) * step
    for row, pin in enumerate(pins):
        counts, _ = distances(burst, pin)
        setup, hold = opening(counts, half)
        top = 30 + row * height
        most = max(counts.values(), default=1)
        rows.append(f'<text x="8" y="{top + 24}">{pin}</text>')
        for offset, count in sorted(counts.items()):
            size = 28 * count / most
            x = middle + offset * step - step // 2
            rows.append(f'<rect x="{x}" y="{top + 30 - size:.1f}" width="{step - 2}" height="{size:.1f}" fill="#557"/>')
        rows.append(f'<text x="{middle + (half + 2) * step}" y="{top + 24}">setup {setup}, hold {hold} samples</text>')
    bottom = 30 + len(pins) * height
    rows.append(f'<line x1="{middle}" y1="24" x2="{middle}" y2="{bottom}" stroke="#b00" stroke-dasharray="4 3"/>')
    rows.append(f'<text x="{middle - 30}" y="16">clock edge</text>')
    for offset in range(-half, half + 1, max(1, half // 4)):
        x = middle + offset * step
        rows.append(f'<text x="{x}" y="{bottom + 16}" text-anchor="middle">{offset * nanoseconds:.1f}</text>')
    rows.append(f'<text x="{middle}" y="{bottom + 34}" text-anchor="middle">ns from the clock edge to a change of the data</text>')
    width = middle + (half + 2) * step + 200
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{bottom + 44}" font-family="sans-serif" '
            f'font-size="12"><rect width="100%" height="100%" fill="#fff"/>\n' + "\n".join(rows) + "\n</svg>\n")


# %% All of it.
def main(arguments: List[str]) -> int:
    if len(arguments) != 2:
        print("usage: eye.py BURST.cap.txt EYE.svg", file=sys.stderr)
        return 2
    burst = orvtrace.read_burst(arguments[0])
    for pin in burst.names[1:]:
        counts, half = distances(burst, pin)
        setup, hold = opening(counts, half)
        print(f"{pin}: setup {setup}, hold {hold} of {half} samples ({(setup + hold) * burst.nanoseconds(1):.2f} ns open)")
    Path(arguments[1]).write_text(picture(burst), encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
