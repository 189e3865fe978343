"""Python step of bench/compare.sh: the benchmark table as a pandas DataFrame
rendered by the omtext module (from_dataframe, then render), against the
omtext command on the same table's document, alternating runs so both see
the same machine. The DataFrame is read before timing: the figure is the
time from a DataFrame in memory to its text, the command's is the whole
process. Checks the two texts are the same and writes one CSV line.

Usage: python_render.py OMTEXT TSV JSON RUNS OUT.csv  (PYTHONPATH must
reach the built module)
"""
import statistics
import subprocess
import sys
import time

import pandas as pd

import omtext

command, tsv, document, runs, out = sys.argv[1], sys.argv[2], sys.argv[3], int(sys.argv[4]), sys.argv[5]
frame = pd.read_csv(tsv, sep="\t", index_col=[0, 1])
frame.columns.name = "Statistics"


def render():
    part = omtext.from_dataframe(frame, title="Statistics by group and item", decimals=2)
    return omtext.render({"output": [{"type": "procedure", "text": "Benchmark",
                                      "children": [part]}]})


module_times, command_times = [], []
for _ in range(runs):
    start = time.perf_counter()
    with open(document, "rb") as source:
        expected = subprocess.run([command, "-"], stdin=source, capture_output=True,
                                  check=True).stdout
    command_times.append(time.perf_counter() - start)
    start = time.perf_counter()
    text = render()
    module_times.append(time.perf_counter() - start)
if text.encode("utf-8") != expected:
    sys.exit("python_render.py: the module's text differs from the command's")
with open(out, "w") as f:
    f.write("step,seconds,stddev\n")
    for name, times in (("command", command_times), ("module", module_times)):
        f.write(f"{name},{statistics.mean(times):.3f},{statistics.pstdev(times):.3f}\n")
