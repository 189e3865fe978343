"""Shared helpers: the built command, the repository's examples and the
bad-input corpus."""
import os
import pathlib
import subprocess

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
EXAMPLES = ROOT / "examples"
BAD_INPUT = ROOT / "tests" / "data" / "bad-input"


def command_path():
    path = os.environ.get("OMTEXT_COMMAND")
    if not path:
        raise RuntimeError("OMTEXT_COMMAND must name the built omtext command (ctest sets it)")
    return path


def run_command(arguments, document):
    """The command's exit status, stdout (as render() returns text) and stderr."""
    if isinstance(document, str):
        document = document.encode("utf-8", "surrogateescape")
    done = subprocess.run([command_path(), *arguments], input=document, capture_output=True,
                          check=False)
    return (done.returncode, done.stdout.decode("utf-8", "surrogateescape"),
            done.stderr.decode("utf-8", "surrogateescape"))


@pytest.fixture
def command():
    return run_command
