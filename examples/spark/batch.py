"""Where entities stayed, who met whom, and the rows that are no good.

spark-submit batch.py TRACKS OUT
"""

import sys

from pyspark.sql import SparkSession

import qorvel.spark


def main(tracks: str, out: str) -> None:
    """Read a folder of Parquet, write a folder of Parquet for each answer."""
    spark = SparkSession.builder.appName("stays and encounters").getOrCreate()
    rows = spark.read.parquet(tracks)
    qorvel.spark.stays(rows, radius=150).write.parquet(f"{out}/stays")
    qorvel.spark.meet(rows, within=30).write.parquet(f"{out}/encounters")
    qorvel.spark.rejects(rows).write.parquet(f"{out}/rejects")
    spark.stop()


if __name__ == "__main__":
    main(*sys.argv[1:])
