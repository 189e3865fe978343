"""Plain-text rendering of analysis output: procedures, headings, text
blocks and pivot tables with nested headings, footnotes, captions, layers
and pages.

render(document, **options) gives the text the omtext command writes for
an output document; from_dataframe(df, ...) makes a pivot-table part of a
pandas DataFrame.
"""
from ._omtext import DocumentError, LimitError, Numbers, __version__, dumps, render
from ._dataframe import from_dataframe

__all__ = ["DocumentError", "LimitError", "Numbers", "dumps", "from_dataframe", "render",
           "__version__"]
