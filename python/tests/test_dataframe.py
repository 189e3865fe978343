"""omtext.from_dataframe(): index levels become dimensions, values cells."""
import numpy as np
import pandas as pd
import pytest

import omtext
from conftest import run_command


def as_plain(part):
    """The part with its Numbers grid as nested lists, for comparison."""
    plain = dict(part)
    if isinstance(plain.get("data"), omtext.Numbers):
        grid = plain["data"]
        values = np.where(np.isnan(grid.values), None, grid.values).tolist()
        plain["data"] = (values, grid.decimals)
    elif isinstance(plain.get("data"), np.ndarray):
        plain["data"] = plain["data"].tolist()
    return plain


def assert_renders_as_command(part, **options):
    arguments = [f"--{k.replace('_', '-')}" + ("" if v is True else f"={v}")
                 for k, v in options.items()]
    status, expected, _ = run_command(arguments, omtext.dumps({"output": [part]}))
    assert status == 0
    assert omtext.render(part, **options) == expected
    return expected


@pytest.fixture
def sales():
    return pd.DataFrame({
        "region": ["West", "East", "West", "East", "North"],
        "year": [2025, 2024, 2024, 2025, 2024],
        "product": ["tea", "tea", "coffee", "coffee", "tea"],
        "units": [3.0, 1.5, 2.0, np.nan, 7.25],
    })


def test_levels_become_dimensions_in_order_of_appearance(sales):
    table = sales.pivot_table(index=["region", "product"], columns="year", values="units",
                              aggfunc="sum", sort=False)
    part = as_plain(omtext.from_dataframe(table, title="Units", caption="Made up."))
    assert part["title"] == "Units" and part["caption"] == "Made up."
    assert part["dimensions"] == [
        {"label": "region", "axis": "row", "categories": ["West", "East", "North"]},
        {"label": "product", "axis": "row", "categories": ["tea", "coffee"]},
        {"label": "year", "axis": "column", "categories": ["2025", "2024"]}]
    # East/coffee sums a missing value to 0; North/coffee has no row at all.
    assert part["data"] == ([[[3.0, None], [None, 2.0]], [[None, 1.5], [0.0, None]],
                             [[None, 7.25], [None, None]]], None)


def test_layers_come_from_either_axis(sales):
    table = sales.pivot_table(index=["region", "product"], columns="year", values="units",
                              aggfunc="sum")
    part = omtext.from_dataframe(table, layers=["year", "product"], decimals=2)
    assert [(d["label"], d["axis"]) for d in part["dimensions"]] == [
        ("region", "row"), ("year", "layer"), ("product", "layer")]
    assert part["data"].values.shape == (3, 2, 2)
    text = assert_renders_as_command(part)
    assert "year 2024 \nproduct coffee \n" in text and "2.00" in text
    assert assert_renders_as_command(part, current_layer=True).count("year ") == 1


@pytest.mark.parametrize("layers,message", [
    (["month"], "no index level is named 'month'"),
    (["region", "region"], "a level is named twice"),
])
def test_wrong_layers_raise(sales, layers, message):
    table = sales.set_index(["region", "product", "year"])
    with pytest.raises(ValueError, match=message):
        omtext.from_dataframe(table, layers=layers)


def test_a_name_on_both_axes_cannot_be_a_layer():
    frame = pd.DataFrame([[1]], index=pd.Index(["a"], name="x"), columns=pd.Index(["b"], name="x"))
    with pytest.raises(ValueError, match="more than one index level is named 'x'"):
        omtext.from_dataframe(frame, layers="x")
    assert omtext.render(omtext.from_dataframe(frame)).count("x") == 2


def test_missing_values_give_no_cell():
    frame = pd.DataFrame({"n": pd.array([1, None, 3], dtype="Int64"),
                          "s": ["a", None, np.nan], "f": [np.nan, 0.5, None]})
    part = as_plain(omtext.from_dataframe(frame, decimals=1))
    assert part["data"] == [[{"value": 1, "decimals": 1}, "a", None],
                            [None, None, {"value": 0.5, "decimals": 1}],
                            [{"value": 3, "decimals": 1}, None, None]]
    text = assert_renders_as_command(omtext.from_dataframe(frame, decimals=1))
    assert "nan" not in text.lower() and "None" not in text


def test_values_of_other_kinds_become_text_or_numbers():
    frame = pd.DataFrame({"b": [True, False], "t": pd.to_datetime(["2024-01-02", None]),
                          "m": [np.int64(1), "x"], "k": pd.Categorical(["lo", "hi"])})
    assert as_plain(omtext.from_dataframe(frame))["data"] == [
        ["True", "2024-01-02 00:00:00", 1, "lo"], ["False", None, "x", "hi"]]
    assert as_plain(omtext.from_dataframe(frame, decimals=0))["data"][0][2] == {
        "value": 1, "decimals": 0}


def test_unnamed_levels_hide_their_labels_and_numbers_keep_their_form():
    frame = pd.DataFrame({"x": [0.1, 1e20, -3.0]}, index=[10, 20, 30])
    part = omtext.from_dataframe(frame)
    assert [d.get("show-label", True) for d in part["dimensions"]] == [False, False]
    assert part["dimensions"][0]["categories"] == ["10", "20", "30"]
    text = assert_renders_as_command(part)
    assert "1e+20" in text and "0.1" in text and "-3" in text


def test_unicode_labels_and_values_keep_their_width():
    frame = pd.DataFrame({"Stadt": ["Zürich", "東京", "Genève"], "Wert": ["ä", "日本語", "x"]})
    text = assert_renders_as_command(omtext.from_dataframe(frame.set_index("Stadt"),
                                                           title="Städte"), width=30)
    assert "|東京 |日本語|" in text and "Städte" in text


def test_sparse_multiindex_uses_cells_and_renders_like_dense():
    index = pd.MultiIndex.from_arrays([range(100), range(100), range(100)], names=["a", "b", "c"])
    frame = pd.DataFrame({"v": np.arange(100.0)}, index=index)
    part = omtext.from_dataframe(frame, decimals=1)
    assert "data" not in part and len(part["cells"]) == 100
    assert part["cells"][7] == [[7, 7, 7, 0], {"value": 7.0, "decimals": 1}]
    assert_renders_as_command(part)


def test_repeated_labels_and_wrong_arguments_raise():
    with pytest.raises(ValueError, match="row index repeats a label"):
        omtext.from_dataframe(pd.DataFrame({"v": [1, 2]}, index=["a", "a"]))
    with pytest.raises(ValueError, match="column index repeats a label"):
        omtext.from_dataframe(pd.DataFrame([[1, 2]], columns=["a", "a"]))
    with pytest.raises(TypeError, match="needs a pandas DataFrame"):
        omtext.from_dataframe({"v": [1]})
    with pytest.raises(ValueError, match="decimals must be 0 to 20"):
        omtext.from_dataframe(pd.DataFrame({"v": [1]}), decimals=21)
    with pytest.raises(TypeError, match="decimals must be an int"):
        omtext.from_dataframe(pd.DataFrame({"v": [1]}), decimals=1.0)


def test_numbers_grid_checks_its_arguments():
    assert repr(omtext.Numbers([[1, 2]], 3)) == "Numbers(shape=(1, 2), decimals=3)"
    with pytest.raises(ValueError, match="decimals must be 0 to 20, not -1"):
        omtext.Numbers([1.0], -1)
    with pytest.raises(TypeError):
        omtext.Numbers([1.0], "2")
    with pytest.raises(ValueError):
        omtext.Numbers(["x"])
    grid = omtext.Numbers([[1.0, np.nan], [np.inf, 2.0]])
    with pytest.raises(omtext.DocumentError) as raised:
        omtext.dumps({"data": grid})
    assert raised.value.path == "data[1]"
