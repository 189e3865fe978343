"""The Python examples print their expected output."""
import subprocess
import sys

import pytest

from conftest import EXAMPLES

SCRIPTS = sorted((EXAMPLES / "python").glob("*.py"))


@pytest.mark.parametrize("script", SCRIPTS, ids=lambda p: p.stem)
def test_example_prints_its_expected_output(script):
    done = subprocess.run([sys.executable, str(script)], capture_output=True, check=True)
    expected = EXAMPLES / "python" / "expected" / f"{script.stem}.txt"
    assert done.stdout.decode("utf-8") == expected.read_text(encoding="utf-8")


def test_there_are_examples():
    assert len(SCRIPTS) >= 2
