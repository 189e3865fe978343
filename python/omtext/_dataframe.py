"""pandas DataFrames as pivot-table parts."""
import math
import numbers

# A dense grid may hold at most this many slots per cell of the frame (plus
# a little), so that a sparse MultiIndex does not blow up into a huge grid.
_DENSE_SLOTS_PER_CELL = 4
_DENSE_SLACK = 4096


def _label(value):
    """The text of an index value as a category or dimension label."""
    if isinstance(value, float) and math.isnan(value):
        return "NaN"
    return str(value)


def _levels(index):
    """(name, codes, categories) for each level of an index, the categories
    in order of appearance."""
    import pandas as pd

    levels = []
    for position, name in enumerate(index.names):
        values = index.get_level_values(position)
        codes, uniques = pd.factorize(values, use_na_sentinel=False)
        levels.append((name, codes, [_label(v) for v in uniques.tolist()]))
    return levels


def _object_cell(value, decimals):
    """The cell of one value of a column holding mixed types."""
    if isinstance(value, numbers.Real) and not isinstance(value, bool):
        value = int(value) if isinstance(value, numbers.Integral) else float(value)
        return value if decimals is None else {"value": value, "decimals": decimals}
    return str(value)


def _column_cells(series, decimals):
    """The cells of one column as an object array, None for no cell. Columns
    of one kind are converted whole; only mixed columns go value by value."""
    import numpy as np
    import pandas as pd

    kind = pd.api.types.infer_dtype(series, skipna=True)
    if kind in ("string", "empty"):
        cells = series.to_numpy(dtype=object).copy()
    elif pd.api.types.is_bool_dtype(series.dtype) or kind == "boolean":
        cells = series.astype(str).to_numpy(dtype=object)
    elif pd.api.types.is_numeric_dtype(series.dtype):
        cells = series.to_numpy(dtype=object).copy()
        if decimals is not None:
            cells[:] = [{"value": v, "decimals": decimals}
                        for v in series.to_numpy(dtype=np.float64, na_value=np.nan).tolist()]
    else:
        cells = np.empty(len(series), dtype=object)
        cells[:] = [_object_cell(v, decimals) for v in series.to_numpy(dtype=object).tolist()]
    cells[series.isna().to_numpy()] = None
    return cells


def from_dataframe(df, title=None, caption=None, footnotes=(), layers=(), decimals=None):
    """A pivot-table part (a dict of the document format) holding a DataFrame.

    Each level of the row index and of the column index becomes a dimension
    on that axis, nested in level order, labelled with the level's name and
    holding the level's values, in order of appearance, as categories; the
    levels named in `layers` go to the layer axis instead, in that order.
    Missing values give no cell; numbers are shown with `decimals` places
    when given. `footnotes` are the table's notes, marked on its title.
    Numeric frames keep their values in an omtext.Numbers grid, which
    render() reads in bulk; omtext.dumps() gives the part as JSON text.
    """
    import numpy as np
    import pandas as pd

    from ._omtext import Numbers

    if not isinstance(df, pd.DataFrame):
        raise TypeError(f"from_dataframe() needs a pandas DataFrame, not {type(df).__name__}")
    if decimals is not None and (not isinstance(decimals, int) or isinstance(decimals, bool)):
        raise TypeError(f"decimals must be an int or None, not {type(decimals).__name__}")
    if decimals is not None and not 0 <= decimals <= 20:
        raise ValueError(f"decimals must be 0 to 20, not {decimals}")
    if isinstance(layers, str):
        layers = (layers,)
    layers = list(layers)
    footnotes = [footnotes] if isinstance(footnotes, str) else list(footnotes)
    for axis, index in (("row", df.index), ("column", df.columns)):
        if not index.is_unique:
            raise ValueError(f"the {axis} index repeats a label, so two values would share a cell")

    rows, columns = _levels(df.index), _levels(df.columns)
    named = {}
    for axis, levels in (("row", rows), ("column", columns)):
        for position, level in enumerate(levels):
            if level[0] is not None:
                named.setdefault(level[0], []).append((axis, position))
    for name in layers:
        if name not in named:
            raise ValueError(f"no index level is named {name!r}")
        if len(named[name]) > 1:
            raise ValueError(f"more than one index level is named {name!r}")
    if len(set(map(repr, layers))) != len(layers):
        raise ValueError("a level is named twice in layers")

    # Table order: row levels, column levels, then layers; a cell's flat
    # position in the dense grid is the sum of its row part and column part.
    layer_levels = [named[name][0] for name in layers]
    order = [("row", p) for p in range(len(rows)) if ("row", p) not in layer_levels]
    order += [("column", p) for p in range(len(columns)) if ("column", p) not in layer_levels]
    order += layer_levels
    dimensions = []
    shape = []
    for axis, position in order:
        name, _, categories = (rows if axis == "row" else columns)[position]
        dimension = {"label": "" if name is None else _label(name),
                     "axis": "layer" if (axis, position) in layer_levels else axis,
                     "categories": categories}
        if name is None:
            dimension["show-label"] = False
        dimensions.append(dimension)
        shape.append(len(categories))
    strides = [1] * len(shape)
    for k in range(len(shape) - 2, -1, -1):
        strides[k] = strides[k + 1] * shape[k + 1]
    row_flat = np.zeros(len(df.index), dtype=np.int64)
    column_flat = np.zeros(len(df.columns), dtype=np.int64)
    for k, (axis, position) in enumerate(order):
        if axis == "row":
            row_flat += rows[position][1].astype(np.int64) * strides[k]
        else:
            column_flat += columns[position][1].astype(np.int64) * strides[k]
    flat = (row_flat[:, None] + column_flat[None, :]).ravel()

    numeric = all(pd.api.types.is_numeric_dtype(t) and not pd.api.types.is_bool_dtype(t)
                  for t in df.dtypes)
    if numeric:
        values = df.to_numpy(dtype=np.float64, na_value=np.nan).ravel()
    else:
        values = np.empty(df.shape, dtype=object)
        for j in range(df.shape[1]):
            values[:, j] = _column_cells(df.iloc[:, j], decimals)
        values = values.ravel()

    part = {"type": "pivot-table"}
    if title is not None or footnotes:
        # Footnotes print only where a cell refers to them: the title does.
        text = "" if title is None else str(title)
        part["title"] = {"text": text, "footnotes": list(range(len(footnotes)))} if footnotes else text
        if title is None:
            part["show-title"] = False
    if caption is not None:
        part["caption"] = str(caption)
    if footnotes:
        part["footnotes"] = [str(f) for f in footnotes]
    part["dimensions"] = dimensions
    size = math.prod(shape)
    if size <= _DENSE_SLOTS_PER_CELL * values.size + _DENSE_SLACK:
        if numeric:
            grid = np.full(size, np.nan)
            grid[flat] = values
            part["data"] = Numbers(grid.reshape(shape), decimals)
        else:
            grid = np.full(size, None, dtype=object)
            grid[flat] = values
            part["data"] = grid.reshape(shape)
    else:
        # A sparse grid: the cells one by one, their positions from the flat
        # index.
        present = ~np.isnan(values) if numeric else np.array([v is not None for v in values])
        positions = np.stack(np.unravel_index(flat[present], shape), axis=1).tolist()
        kept = values[present].tolist()
        if numeric and decimals is not None:
            kept = [{"value": v, "decimals": decimals} for v in kept]
        part["cells"] = [[p, v] for p, v in zip(positions, kept)]
    return part
