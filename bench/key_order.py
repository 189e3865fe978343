#!/usr/bin/env python3
"""Key order costs nothing: times omtext on a document written with its keys
in the usual order and with them sorted (json.dump with sort_keys, which puts
"data" before "dimensions"), each usual run followed by its sorted one so that
the machine's drift falls on both alike, and prints the median ratios and the
peak memory of each.

Usage: bench/key_order.py DOC [RUNS] [OMTEXT]
(defaults: 15 runs, build-bench/cli/omtext).
"""
import json
import os
import statistics
import subprocess
import sys
import tempfile
import time


def peak_kb(command):
    result = subprocess.run(["/usr/bin/time", "-f", "%M"] + command,
                            stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
                            check=True)
    return int(result.stderr.strip().splitlines()[-1])


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 15
    omtext = sys.argv[3] if len(sys.argv) > 3 else "build-bench/cli/omtext"
    with open(sys.argv[1], encoding="utf-8") as source:
        document = json.load(source)
    with tempfile.TemporaryDirectory() as scratch:
        paths = {}
        for order, sort in (("usual", False), ("sorted", True)):
            paths[order] = os.path.join(scratch, order + ".json")
            with open(paths[order], "w", encoding="utf-8") as out:
                json.dump(document, out, sort_keys=sort)
        for label, options in (("formatted", []), ("tab-separated", ["--tab-separated"])):
            times = {"usual": [], "sorted": []}
            for _ in range(runs):
                for order in ("usual", "sorted"):
                    start = time.perf_counter()
                    subprocess.run([omtext] + options + [paths[order]],
                                   stdout=subprocess.DEVNULL, check=True)
                    times[order].append(time.perf_counter() - start)
            usual = statistics.median(times["usual"])
            ordered = statistics.median(times["sorted"])
            memory = {order: peak_kb([omtext] + options + [paths[order]]) for order in paths}
            print(f"{label:14} time {usual:.3f} s usual, {ordered:.3f} s sorted, "
                  f"ratio {ordered / usual:.2f}; peak {memory['usual'] / 1024:.1f} MB, "
                  f"{memory['sorted'] / 1024:.1f} MB, ratio {memory['sorted'] / memory['usual']:.2f}")


if __name__ == "__main__":
    main()
