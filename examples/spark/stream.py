"""Where entities stayed, told while files of tracks arrive.

spark-submit stream.py TRACKS OUT
"""

import sys

from pyspark.sql import SparkSession

import qorvel.spark

ROCKSDB = "org.apache.spark.sql.execution.streaming.state.RocksDBStateStoreProvider"
TRACKS = "entity string, lat double, lon double, time_ms bigint, accuracy_m double"


def main(tracks: str, out: str) -> None:
    """Read the files of a folder as they come; started again, it goes on where it was."""
    spark = (
        SparkSession.builder.appName("stays")
        .config("spark.sql.streaming.stateStore.providerClass", ROCKSDB)
        .getOrCreate()
    )
    rows = spark.readStream.schema(TRACKS).parquet(tracks)
    stays = qorvel.spark.stays(rows, late="10 minutes")
    query = stays.writeStream.option("checkpointLocation", f"{out}/checkpoint").start(
        f"{out}/stays", format="parquet"
    )
    query.awaitTermination()


if __name__ == "__main__":
    main(*sys.argv[1:])
