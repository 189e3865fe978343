"""Peer for bench/compare.sh: the TSV as a grid table by tabulate."""
import csv
import sys

from tabulate import tabulate

with open(sys.argv[1], newline="") as f:
    rows = list(csv.reader(f, delimiter="\t"))
print(tabulate(rows, headers="firstrow", tablefmt="grid"))
