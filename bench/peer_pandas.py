"""Peer for bench/compare.sh: the TSV as a DataFrame with the two row labels
as a MultiIndex, printed whole by to_string()."""
import sys

import pandas as pd

frame = pd.read_csv(sys.argv[1], sep="\t", index_col=[0, 1])
print(frame.to_string())
