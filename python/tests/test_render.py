"""omtext.render(): the same text and the same errors as the command."""
import json
import math
import pathlib
import re

import numpy as np
import pytest

import omtext
from conftest import BAD_INPUT, EXAMPLES, run_command

# Python keyword options and the command arguments they stand for.
OPTION_SETS = [
    ({}, []),
    ({"tab_separated": True}, ["--tab-separated"]),
    ({"width": 60}, ["--width", "60"]),
    ({"width": 50, "page_length": 25, "page_breaks": True},
     ["--width", "50", "--page-length", "25", "--page-breaks"]),
    ({"show_empty": True, "labels_in_heading": True, "numeric_footnotes": True,
      "current_layer": True, "show_notes": True, "selected_only": True},
     ["--show-empty", "--labels-in-heading", "--numeric-footnotes", "--current-layer",
      "--show-notes", "--selected-only"]),
    ({"footnotes": False, "column_separator": " ¦ ", "row_separator": "", "width": 40,
      "width_restriction": 12},
     ["--no-footnotes", "--column-separator", " ¦ ", "--row-separator", "", "--width", "40",
      "--width-restriction", "12"]),
    ({"encoding": "single-byte", "width": 30}, ["--encoding", "single-byte", "--width", "30"]),
    ({"encoding": "double-byte", "tab_separated": True, "footnotes": True, "width": None},
     ["--encoding", "double-byte", "--tab-separated"]),
    ({"display_width": "columns", "width": 30}, ["--display-width", "columns", "--width", "30"]),
]
EXAMPLE_FILES = sorted(EXAMPLES.glob("*.json"))


@pytest.mark.parametrize("path", EXAMPLE_FILES, ids=lambda p: p.stem)
@pytest.mark.parametrize("options,arguments", OPTION_SETS, ids=lambda o: repr(o)[:40])
def test_examples_render_as_the_command_does(path, options, arguments):
    text = path.read_text(encoding="utf-8")
    status, expected, _ = run_command(arguments, text)
    assert status == 0
    assert omtext.render(text, **options) == expected
    assert omtext.render(json.loads(text), **options) == expected


def test_every_document_form_gives_the_same_text():
    path = EXAMPLES / "crosstab.json"
    document = json.loads(path.read_text(encoding="utf-8"))
    expected = (EXAMPLES / "expected" / "crosstab.default.txt").read_text(encoding="utf-8")
    assert omtext.render(path) == expected
    assert omtext.render(path.read_bytes()) == expected
    assert omtext.render(bytearray(path.read_bytes())) == expected
    assert omtext.render(document["output"]) == expected
    assert omtext.render(document["output"][0]) == expected
    assert omtext.render(omtext.dumps(document)) == expected


def test_dumps_writes_json_that_reads_back():
    document = {"output": [{"type": "text", "lines": ["quote \" back\\slash", "tab\tnew\nline",
                                                      "é ☃ 𝄞", "\x01"]}],
                "numbers": [0, -1, 2**70, 0.1, 1e300, -0.0, float("nan"), True, None]}
    text = omtext.dumps(document)
    assert "\n" not in text
    back = json.loads(text)
    assert back["output"] == document["output"]
    assert back["numbers"][:6] == document["numbers"][:6]
    assert back["numbers"][6:] == [None, True, None]


def test_dumps_writes_numpy_values_as_their_python_values():
    arrays = [np.array([[1, -2]], dtype=np.int8), np.array([2**64 - 1], dtype=np.uint64),
              np.array([[0.5, np.nan]], dtype=np.float32), np.array([True]), np.array(["é"]),
              np.float32(1.5), np.int64(-7), np.zeros((2, 0))]
    assert json.loads(omtext.dumps(arrays)) == [
        [[1, -2]], [2**64 - 1], [[0.5, None]], [True], ["é"], 1.5, -7, [[], []]]


def _bad_input_cases():
    """(name, document, arguments, expectation) for each corpus case the
    module can express: no output file, destination or help."""
    for expected in sorted(BAD_INPUT.glob("*.expected")):
        name = expected.stem
        arguments = []
        args_file = BAD_INPUT / f"{name}.args"
        if args_file.exists():
            arguments = args_file.read_bytes().decode("utf-8", "surrogateescape").split("\n")
            if arguments and arguments[-1] == "":
                arguments.pop()
        if any(a in ("-o", "--output", "--destination", "--stats", "--help", "--version", "-h")
               or a.startswith(("-o", "--output=", "--destination=")) for a in arguments):
            continue
        options = _keyword_options(arguments)
        if options is None:
            continue  # names a FILE
        document = BAD_INPUT / f"{name}.json"
        if not document.exists():
            document = BAD_INPUT / "common.json"
        yield pytest.param(document, arguments, options,
                           expected.read_bytes().decode("utf-8", "surrogateescape"), id=name)


PYTHON_NAMES = {"--no-footnotes": ("footnotes", False)}
INTEGER_OPTIONS = {"--width", "--width-restriction", "--page-length"}
VALUE_OPTIONS = INTEGER_OPTIONS | {"--column-separator", "--row-separator", "--encoding"}


def _keyword_options(arguments):
    """The keyword options for a command line, or None when it has a FILE."""
    options = {}
    i = 0
    while i < len(arguments):
        argument = arguments[i]
        name, _, value = argument.partition("=")
        if not name.startswith("--"):
            return None
        if name in VALUE_OPTIONS and "=" not in argument:
            if i + 1 >= len(arguments):
                return None
            i += 1
            value = arguments[i]
        python, flag = PYTHON_NAMES.get(name, (name[2:].replace("-", "_"), True))
        if name in INTEGER_OPTIONS and re.fullmatch(r"[+-]?[0-9]+", value):
            options[python] = int(value)
        else:
            # A flag given a value, or a malformed integer, stays a str.
            options[python] = value if name in VALUE_OPTIONS or "=" in argument else flag
        i += 1
    return options


@pytest.mark.parametrize("document,arguments,options,expected", list(_bad_input_cases()))
def test_bad_input_corpus_gives_the_commands_result(document, arguments, options, expected):
    status = int(expected.split("\n", 1)[0].split()[1])
    text = document.read_bytes()
    if status == 0:
        assert omtext.render(text, **options) == run_command(arguments, text)[1]
        return
    stderr = re.search(r"^stderr omtext: (.*)$", expected, re.MULTILINE).group(1)
    if status == 2:
        with pytest.raises((TypeError, ValueError)):
            omtext.render(text, **options)
        return
    place = re.match(r"-:(\d+):(\d+): (.*)", stderr)
    if place:
        with pytest.raises(omtext.DocumentError) as raised:
            omtext.render(text, **options)
        error = raised.value
        assert (error.line, error.column, error.message) == (
            int(place.group(1)), int(place.group(2)), place.group(3))
        assert str(error) == stderr[len("-:"):]
        assert error.path is None
    else:
        with pytest.raises(omtext.LimitError, match=re.escape(stderr[len("-: "):])):
            omtext.render(text, **options)


def _table(**keys):
    return {"type": "pivot-table", "dimensions": [
        {"label": "R", "axis": "row", "categories": ["a", {"group": "g", "categories": ["b"]}]},
        {"label": "C", "axis": "column", "categories": ["c"]}], **keys}


@pytest.mark.parametrize("document,path,message", [
    ({"output": [{"type": "heading", "text": "x", "colour": 1}]}, "output[0].colour",
     'key "colour" is not allowed in a "heading" part'),
    ({"output": [{"type": "heading"}]}, "output[0]", 'missing key "text" in a "heading" part'),
    ({"output": [_table(data=[[1], [2, 3]])]}, "output[0].data[1]", None),
    ({"output": [_table(cells=[[[0, 5], 1]])]}, "output[0].cells[0][0][1]", None),
    ({"output": [_table(cells=[[[0, 0], 1], [[0, 0], 2]])]}, "output[0].cells[1][0]", None),
    ({"output": [_table(data=[[{"value": 1, "decimals": 30}], [None]])]},
     "output[0].data[0][0].decimals", None),
    ({"output": [{"type": "heading", "text": "h", "children": [_table(cells=[[[2, 0], 1]])]}]},
     "output[0].children[0].cells[0][0][0]", None),
    (_table(cells=[[[0, 0, 0], 1]]), "cells[0][0]", None),
    ([{"type": "heading", "text": "x"}, {"type": "heading", "text": 3}], "[1].text", None),
    ({"output": [{"type": "heading", "text": "x", "weird key.": 1}]}, 'output[0]["weird key."]',
     None),
    ({"output": [], "x": 1}, "x", 'unknown key "x" in the document'),
    ({}, "", 'missing key "output" in the document'),
])
def test_python_object_errors_name_the_value(document, path, message):
    with pytest.raises(omtext.DocumentError) as raised:
        omtext.render(document)
    error = raised.value
    assert (error.path, error.line, error.column) == (path, None, None)
    if message is not None:
        assert error.message == message
    assert str(error) == (f"{path}: {error.message}" if path else error.message)


def test_values_json_cannot_hold_are_document_errors():
    looped = []
    looped.append(looped)
    cases = [
        ({"output": [{"type": "heading", "text": "x", "children": {1}}]}, "output[0].children",
         "cannot write a set as JSON"),
        ({"output": [{"type": "heading", "text": "x", 3: 1}]}, "output[0]",
         "a key must be a string, not int"),
        ({"output": [{"type": "heading", "text": "x\udc80"}]}, "output[0].text",
         "the string is not valid Unicode (it holds a lone surrogate)"),
        ({"output": [{"type": "text", "lines": ["a", math.inf]}]}, "output[0].lines[1]",
         "a number must be finite, not inf"),
    ]
    for document, path, message in cases:
        with pytest.raises(omtext.DocumentError) as raised:
            omtext.render(document)
        assert (raised.value.path, raised.value.message) == (path, message)
    with pytest.raises(omtext.DocumentError, match="nested more than 500 levels"):
        omtext.render({"output": looped})
    assert issubclass(omtext.DocumentError, ValueError)


@pytest.mark.parametrize("options,error,match", [
    ({"wdth": 80}, TypeError, "unexpected keyword argument 'wdth'"),
    ({"width": "80"}, TypeError, "width must be an int, not str"),
    ({"page_length": True}, TypeError, "page_length must be an int, not bool"),
    ({"tab_separated": 1}, TypeError, "tab_separated must be True or False, not int"),
    ({"column_separator": b"|"}, TypeError, "column_separator must be a str, not bytes"),
    ({"width": 2**31}, ValueError, "option --width needs a 32-bit integer, not '2147483648'"),
    ({"width_restriction": -2**80}, ValueError, "32-bit integer"),
    ({"encoding": "latin-1"}, ValueError, "needs utf-8, single-byte or double-byte"),
])
def test_wrong_options_raise(options, error, match):
    with pytest.raises(error, match=re.escape(match)):
        omtext.render({"output": []}, **options)


def test_wrong_documents_raise_type_error():
    for document in (5, None, {1, 2}):
        with pytest.raises(TypeError, match="document must be JSON text"):
            omtext.render(document)
    with pytest.raises(FileNotFoundError):
        omtext.render(pathlib.Path("/nonexistent/document.json"))


def test_encoding_is_restored_after_each_render():
    document = {"output": [{"type": "text", "lines": ["é" * 30]}]}
    utf8 = omtext.render(document, width=10)
    omtext.render(document, encoding="single-byte", width=10)
    assert omtext.render(document, width=10) == utf8
