"""A crosstab of survey answers with footnotes: one on the title from
from_dataframe(), and one put on a category by editing the part."""
import pandas as pd

import omtext

answers = pd.DataFrame({
    "Region": ["North", "South", "South", "East", "North", "East", "South", "North", "East",
               "South"],
    "Answer": ["Yes", "No", "Yes", "Yes", "No", "Yes", "Yes", "Yes", "No", "Don't know"],
})
table = pd.crosstab(answers["Region"], answers["Answer"], margins=True, margins_name="Total")

part = omtext.from_dataframe(table, title="Answers by region",
                             caption="Source: a made-up survey of ten people.",
                             footnotes=["Unweighted counts."])
# The part is a plain dict of the document format: a second footnote, on East.
part["footnotes"].append("Two sites merged.")
regions = part["dimensions"][0]["categories"]
regions[regions.index("East")] = {"text": "East", "footnotes": [1]}
print(omtext.render(part, width=80), end="")
