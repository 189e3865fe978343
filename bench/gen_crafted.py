#!/usr/bin/env python3
"""Writes the crafted documents that probe the render limits: small inputs
whose tables would print far more than their size suggests.

Usage: gen_crafted.py NAME [SCALE]  (the document goes to standard output)

  wide-sparse     two dimensions of 9,997 leaves (rows and columns), one cell;
                  rendered with --show-empty
  many-layers     1,000,000 layers of 10 x 10, one cell; with --show-empty
  big-layers      1,000 layers of 3,000 x 3,000, one cell; with --show-empty
  huge-tab        100,000 x 100,000, one cell; with --show-empty --tab-separated
  tall-sparse     2,000 x 1,900 nested rows by 24 columns, one cell; with
                  --show-empty
  layer-sparse    99 layers of 1,000 x 1,000, one cell; with --show-empty
  blank-lines     3 x 3 cells of 64 KiB each: short words between blank lines,
                  the worst shape for folding a cell into one row (SCALE is
                  the number of blank lines between words)
  blank-lines-irregular
                  the same with SCALE to 2 x SCALE blank lines between words
                  at random, and words of 1 to 3 letters at random
  blank-lines-irregular-labels
                  those nine texts as the labels of nine rows instead, with
                  a one-letter cell each

SCALE (default 1) divides every leaf count, for smaller documents of the same
shape.
"""
import sys


def dimension(label, axis, leaves):
    # Numbers make the shortest category labels.
    return '{"label": "%s", "axis": "%s", "categories": [%s]}' % (label, axis,
                                                                 ",".join("0" * leaves))


def table(dimensions):
    index = ", ".join("0" for _ in dimensions)
    return ('{"output": [{"type": "pivot-table", "title": "Crafted", "dimensions": [%s], '
            '"cells": [[[%s], 1]]}]}\n' % (", ".join(dimensions), index))


def blank_lines(gap, irregular=False, labels=False):
    seed = 3

    def draw():
        nonlocal seed
        seed = (seed * 1103515245 + 12345) % (1 << 32)
        return seed

    def cell():
        words = []
        size = 0
        i = 0
        while size < 65536 - 16:
            if irregular:
                r = draw()
                word = "w" * (1 + (r >> 16) % 3)
                breaks = gap + (r >> 20) % (gap + 1)
            else:
                word = "w" * (1 + i % 3)
                breaks = gap
            words.append(word + "\\n" * (breaks + 1))
            size += len(word) + 2 * (breaks + 1)  # a line feed is two bytes in JSON
            i += 1
        words[-1] = words[-1].rstrip("\\n")
        return '"%s"' % "".join(words)

    if not labels:
        first = cell()
        cells = [first] + [cell() if irregular else first for _ in range(8)]
        rows = ", ".join("[%s]" % ", ".join(cells[3 * r:3 * r + 3]) for r in range(3))
        return ('{"output": [{"type": "pivot-table", "title": "Folded", "dimensions": ['
                '{"label": "R", "axis": "row", "categories": ["a", "b", "c"]}, '
                '{"label": "C", "axis": "column", "categories": ["x", "y", "z"]}], '
                '"data": [%s]}]}\n' % rows)
    names = [cell() for _ in range(9)]
    return ('{"output": [{"type": "pivot-table", "title": "Folded", "dimensions": ['
            '{"label": "R", "axis": "row", "categories": [%s]}, '
            '{"label": "C", "axis": "column", "categories": ["x"]}], '
            '"data": [%s]}]}\n' % (", ".join(names), ", ".join(['["v"]'] * 9)))


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    name = sys.argv[1]
    scale = int(sys.argv[2]) if len(sys.argv) == 3 else 1
    if name == "blank-lines":
        sys.stdout.write(blank_lines(scale))
        return
    if name == "blank-lines-irregular":
        sys.stdout.write(blank_lines(scale, irregular=True))
        return
    if name == "blank-lines-irregular-labels":
        sys.stdout.write(blank_lines(scale, irregular=True, labels=True))
        return

    def n(count):
        return max(1, count // scale)

    shapes = {
        "wide-sparse": [("R", "row", 9997), ("C", "column", 9997)],
        "many-layers": [("A", "layer", 1000), ("B", "layer", 1000), ("R", "row", 10),
                        ("C", "column", 10)],
        "big-layers": [("L", "layer", 1000), ("R", "row", 3000), ("C", "column", 3000)],
        "huge-tab": [("R", "row", 100000), ("C", "column", 100000)],
        "tall-sparse": [("R", "row", 2000), ("S", "row", 1900), ("C", "column", 24)],
        "layer-sparse": [("L", "layer", 99), ("R", "row", 1000), ("C", "column", 1000)],
    }
    if name not in shapes:
        sys.exit("gen_crafted.py: unknown document '%s'\n%s" % (name, __doc__))
    sys.stdout.write(table([dimension(label, axis, n(count)) for label, axis, count in shapes[name]]))


if __name__ == "__main__":
    main()
