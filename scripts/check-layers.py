#!/usr/bin/env python3
"""Fails when a source file includes a project header from a layer it may not use.

The layers, bottom up: host/platform, host/output, host/table; fold and the
loader over the host; the export options and page; pivot over fold, options and page;
export over pivot; destination over export. The command, tests, benchmarks,
fuzzers and the Python module may include anything.

Usage: check-layers.py [ROOT]   (default: the repository holding this script)
"""
import pathlib
import re
import sys

HOST = ("host/platform/", "host/output/", "host/table/")
OPTIONS = ("export/OmTextExportOptions.h", "export/OmTextPage.h")
# Each layer, as a path prefix, with the prefixes its files may include.
ALLOWED = {
    "host/platform/": ("host/platform/",),
    "host/output/": ("host/platform/", "host/output/"),
    "host/table/": HOST,
    "loader/": HOST + ("loader/",),
    "fold/": HOST + ("fold/",),
    "export/OmTextExportOptions.": HOST + OPTIONS,
    "export/OmTextPage.": HOST + OPTIONS,
    "pivot/": HOST + OPTIONS + ("fold/", "pivot/"),
    "export/": HOST + ("export/", "pivot/"),
    "destination/": HOST + ("export/", "destination/"),
}
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)


def layer_of(path):
    """The most specific layer prefix that the path falls under, or None."""
    matches = [prefix for prefix in ALLOWED if path.startswith(prefix)]
    return max(matches, key=len) if matches else None


def violations(root):
    for source in sorted(root.rglob("*")):
        if source.suffix not in (".h", ".cpp") or not source.is_file():
            continue
        path = source.relative_to(root).as_posix()
        layer = layer_of(path)
        if layer is None:
            continue
        text = source.read_text(encoding="utf-8", errors="replace")
        for match in INCLUDE.finditer(text):
            header = match.group(1)
            if not header.startswith(ALLOWED[layer]):
                line = text.count("\n", 0, match.start()) + 1
                yield f"{path}:{line}: {layer.rstrip('/.')} may not include \"{header}\""


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parent.parent)
    found = list(violations(root))
    for message in found:
        print(message, file=sys.stderr)
    if found:
        print(f"check-layers: {len(found)} include(s) cross a layer the wrong way", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
