"""The same promise on Dask: the rows of an entity in one partition, in a total order.

python on_dask.py TRACKS OUT
"""

import sys

import dask.dataframe as dd
import pandas as pd

import qorvel


def stays(rows: dd.DataFrame, partitions: int | None = None) -> dd.DataFrame:
    """Tell who stayed where; partitions have to fit in memory."""

    def answer(part: pd.DataFrame) -> pd.DataFrame:
        in_order = part.sort_values(["entity", "time_ms", "lat", "lon"])
        return qorvel.stays(in_order, threads=1, late="ever").to_pandas()

    spread = rows.shuffle("entity", npartitions=partitions)
    return spread.map_partitions(answer, meta=answer(rows.head(0)))


if __name__ == "__main__":
    stays(dd.read_parquet(sys.argv[1])).to_parquet(sys.argv[2])
