def from_dataframe(*a, **k): raise NotImplementedError
