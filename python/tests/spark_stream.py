"""A stream from files to files, in a process of its own that may be killed.

python spark_stream.py COMMAND BUCKETS FOLDER: FOLDER/in is read file by file, to the end of what is
there; what is final goes to FOLDER/out.
"""

import sys

from pyspark.sql import SparkSession
from test_spark import MASTER, SETTINGS

import qorvel.spark

ROCKSDB = "org.apache.spark.sql.execution.streaming.state.RocksDBStateStoreProvider"


def main(command, buckets, folder):
    builder = SparkSession.builder.master(MASTER)
    for name, value in SETTINGS.items():
        builder = builder.config(name, value)
    spark = builder.config("spark.sql.streaming.stateStore.providerClass", ROCKSDB).getOrCreate()
    spark.sparkContext.setLogLevel("ERROR")
    schema = spark.read.parquet(f"{folder}/in").schema
    rows = spark.readStream.schema(schema).option("maxFilesPerTrigger", 1).parquet(f"{folder}/in")
    answer = getattr(qorvel.spark, command)(
        rows, late="1 hour", buckets=int(buckets) if buckets else None
    )
    query = (
        answer.writeStream.option("checkpointLocation", f"{folder}/checkpoint")
        .trigger(availableNow=True)
        .start(f"{folder}/out", format="parquet")
    )
    query.awaitTermination()
    late = sum(
        operator["numRowsDroppedByWatermark"]
        for progress in query.recentProgress
        for operator in progress["stateOperators"]
    )
    print("late:", late)
    spark.read.parquet(f"{folder}/out").coalesce(1).write.parquet(f"{folder}/answer")
    spark.stop()


if __name__ == "__main__":
    main(*sys.argv[1:])
