"""A layered table: mean prices by shop and product, one layer per year,
with two decimals."""
import pandas as pd

import omtext

prices = pd.DataFrame({
    "Year": [2024, 2024, 2024, 2024, 2025, 2025, 2025, 2025, 2025],
    "Shop": ["Corner", "Corner", "Market", "Market", "Corner", "Corner", "Market", "Market",
             "Market"],
    "Product": ["Bread", "Milk", "Bread", "Milk", "Bread", "Milk", "Bread", "Milk", "Milk"],
    "Price": [2.1, 0.95, 1.8, 0.9, 2.25, 1.0, 1.95, 0.85, 0.95],
})
table = prices.pivot_table(index="Shop", columns=["Year", "Product"], values="Price",
                           aggfunc="mean")

part = omtext.from_dataframe(table, title="Mean price", layers=["Year"], decimals=2)
print(omtext.render(part, width=80), end="")
