"""The questions on DataFrames of Apache Spark.

Lazily, without collecting anything, and with the answer that a single machine gives::

    import qorvel.spark

    stays = qorvel.spark.stays(spark.read.parquet("tracks"))
    stays.write.parquet("stays")

Needs pyspark 4, and the same version of this module on every machine of the cluster.
"""

from qorvel.spark._batch import boxes, hangouts, places, presence, rejects, stays
from qorvel.spark._meet import meet

__all__ = ["boxes", "hangouts", "meet", "places", "presence", "rejects", "stays"]
