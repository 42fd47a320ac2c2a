"""Cells of points a second, by processor time, as one of several tools makes them: python cells.py TOOL."""

import sys
import time
from collections.abc import Callable

import numpy as np

POINTS = 2_000_000
RUNS = 5
LENGTH = 7  # characters of a geohash: cells of 150 m
RESOLUTION = 9  # of the other kind of cells, those about as large: 174 m

Make = Callable[[], object]


def of_ours(lat: np.ndarray, lon: np.ndarray) -> Make:
    import qorvel

    return lambda: qorvel.geohash.encode(lat, lon, LENGTH)


def of_ours_arrow(lat: np.ndarray, lon: np.ndarray) -> Make:
    import pyarrow as pa

    import qorvel

    lat, lon = pa.array(lat), pa.array(lon)
    return lambda: qorvel.geohash.encode(lat, lon, LENGTH)


def of_h3(lat: np.ndarray, lon: np.ndarray) -> Make:
    """Its call for arrays."""
    import h3.unstable.vect as h3

    return lambda: h3.geo_to_h3(lat, lon, RESOLUTION)


def of_h3ronpy(lat: np.ndarray, lon: np.ndarray) -> Make:
    import h3ronpy.vector

    return lambda: h3ronpy.vector.coordinates_to_cells(lat, lon, RESOLUTION)


def of_pygeohash_fast(lat: np.ndarray, lon: np.ndarray) -> Make:
    """Its call for lists, in one thread."""
    import pygeohash_fast

    lats, lons = lat.tolist(), lon.tolist()
    return lambda: pygeohash_fast.encode_many(lons, lats, LENGTH, 1)


def of_polars_hash(lat: np.ndarray, lon: np.ndarray) -> Make:
    import polars
    import polars_hash

    points = (
        polars.DataFrame({"longitude": lon, "latitude": lat})
        .to_struct("point")
        .to_frame()
    )
    return lambda: points.select(polars_hash.col("point").geohash.from_coords(LENGTH))


TOOLS = {
    "qorvel": of_ours,
    "qorvel-arrow": of_ours_arrow,
    "h3": of_h3,
    "h3ronpy": of_h3ronpy,
    "pygeohash-fast": of_pygeohash_fast,
    "polars-hash": of_polars_hash,
}


def main(tool: str) -> None:
    random = np.random.default_rng(1)
    make = TOOLS[tool](
        random.uniform(-90, 90, POINTS), random.uniform(-180, 180, POINTS)
    )
    taken = []
    for _ in range(RUNS):
        begin = time.process_time()
        make()
        taken.append(time.process_time() - begin)
    print(f"{tool:14} {POINTS / sorted(taken)[RUNS // 2] / 1e6:9.2f} M cells/s")


if __name__ == "__main__":
    main(*sys.argv[1:])
