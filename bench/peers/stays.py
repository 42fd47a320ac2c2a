"""Stays as one of several tools finds them: python stays.py TOOL OUT FILE...

Each FILE is CSV, gzipped or not, with entity, lat, lon, time_ms and perhaps accuracy_m. Of each, OUT gets a
file FILE.TOOL: a line with the processor seconds that the tool took, then entity,from_ms,to_ms,lat,lon for
each stay. What the tool wants to have before it begins (its kind of table, times of its kind) is made before
the clock starts.

Every tool but ours is given what a careful user would give it: fixes that say to be off by more than 100 m
are left out, shorter pieces are asked for than the shortest stay, and pieces of one stay are joined. Settings
are those with which the tool did best on seed 1.
"""

import datetime
import math
import pathlib
import statistics
import sys
import time
from collections.abc import Callable, Iterable

import pandas as pd

MIN_MINUTES = 15
PIECE_MINUTES = 5
MOST_SILENCE = 60  # minutes between two pieces of one stay
NEAR = 200.0  # metres between them
WORST_ACCURACY = 100.0
MOST_RUNS = 5
Stays = Iterable[tuple[str, int, int, float, float]]


def ms(column: pd.Series) -> pd.Series:
    """Times as milliseconds since 1970."""
    return pd.to_datetime(column, utc=True).astype("datetime64[ms, UTC]").astype("int64")


def joined(pieces: Stays) -> Stays:
    """Pieces of one stay made one, and only what is long enough."""
    stays: list[list] = []
    for entity, start, end, lat, lon in sorted(pieces):
        if stays and stays[-1][0] == entity and start - stays[-1][2] <= MOST_SILENCE * 60_000:
            last = stays[-1]
            east = (lon - last[4]) * math.cos(math.radians(lat))
            if math.hypot(lat - last[3], east) * 111_195 <= NEAR:
                share = (end - start) / max(end - start + last[2] - last[1], 1)
                last[2:] = [
                    end,
                    last[3] + share * (lat - last[3]),
                    last[4] + share * (lon - last[4]),
                ]
                continue
        stays.append([entity, start, end, lat, lon])
    return [tuple(stay) for stay in stays if stay[2] - stay[1] >= MIN_MINUTES * 60_000]


def qorvel_tool(rows: pd.DataFrame) -> Callable[[], Stays]:
    import pyarrow as pa
    import qorvel

    table = pa.Table.from_pandas(rows, preserve_index=False)

    def find() -> Stays:
        stays = qorvel.stays(table, threads=1, min_stay=f"{MIN_MINUTES} minutes").to_pandas()
        return zip(stays.entity, ms(stays["from"]), ms(stays["to"]), stays.lat, stays.lon)

    return find


def infostop_tool(rows: pd.DataFrame) -> Callable[[], Stays]:
    import numpy as np
    from infostop import Infostop, postprocess

    tracks = {
        entity: np.column_stack([track.lat, track.lon, track.time_ms // 1000])
        for entity, track in rows.drop_duplicates(["entity", "time_ms"]).groupby("entity")
    }

    def find() -> Stays:
        for entity, track in tracks.items():
            model = Infostop(
                r1=100,
                r2=100,
                min_staying_time=60 * PIECE_MINUTES,
                max_time_between=12 * 3600,
                label_singleton=True,
            )
            try:
                labels = model.fit_predict(track)
            except Exception as fault:
                if "No stop events" not in str(fault):
                    raise
                continue
            for label, start, end in postprocess.compute_intervals(labels, track[:, 2], 12 * 3600):
                if label < 0:
                    continue
                within = track[(track[:, 2] >= start) & (track[:, 2] <= end) & (labels == label)]
                yield entity, int(start) * 1000, int(end) * 1000, *within[:, :2].mean(axis=0)

    return find


def trackintel_tool(rows: pd.DataFrame) -> Callable[[], Stays]:
    import geopandas as gpd
    import trackintel as ti

    fixes = gpd.GeoDataFrame(
        {"user_id": rows.entity, "tracked_at": pd.to_datetime(rows.time_ms, unit="ms", utc=True)},
        geometry=gpd.points_from_xy(rows.lon, rows.lat),
        crs="EPSG:4326",
    )
    fixes = ti.Positionfixes(fixes)

    def find() -> Stays:
        _, stays = fixes.generate_staypoints(
            dist_threshold=200,
            time_threshold=float(PIECE_MINUTES),
            gap_threshold=720.0,
            include_last=True,
        )
        where = stays.geometry
        return zip(stays.user_id, ms(stays.started_at), ms(stays.finished_at), where.y, where.x)

    return find


def skmob_tool(rows: pd.DataFrame) -> Callable[[], Stays]:
    import skmob
    from skmob.preprocessing import detection

    times = pd.to_datetime(rows.time_ms, unit="ms")
    tracks = skmob.TrajDataFrame(
        pd.DataFrame({"uid": rows.entity, "lat": rows.lat, "lng": rows.lon, "datetime": times})
    )

    def find() -> Stays:
        stays = detection.stay_locations(
            tracks, minutes_for_a_stop=float(PIECE_MINUTES), spatial_radius_km=0.2
        )
        return zip(stays.uid, ms(stays.datetime), ms(stays.leaving_datetime), stays.lat, stays.lng)

    return find


def movingpandas_tool(rows: pd.DataFrame) -> Callable[[], Stays]:
    import movingpandas as mpd

    times = pd.to_datetime(rows.time_ms, unit="ms")
    table = pd.DataFrame({"entity": rows.entity, "t": times, "x": rows.lon, "y": rows.lat})
    tracks = mpd.TrajectoryCollection(table, "entity", t="t", x="x", y="y", crs=4326)

    def find() -> Stays:
        stays = mpd.TrajectoryStopDetector(tracks).get_stop_points(
            max_diameter=400, min_duration=datetime.timedelta(minutes=PIECE_MINUTES)
        )
        where = stays.geometry
        return zip(stays.traj_id, ms(stays.start_time), ms(stays.end_time), where.y, where.x)

    return find


TOOLS = {
    "qorvel": qorvel_tool,
    "infostop": infostop_tool,
    "trackintel": trackintel_tool,
    "skmob": skmob_tool,
    "movingpandas": movingpandas_tool,
}


def timed(tool: str, find: Callable[[], Stays]) -> tuple[list, float]:
    """The stays, and the processor seconds: of what is quick the median of some runs."""
    taken: list[float] = []
    while len(taken) < MOST_RUNS and sum(taken) < 1.0:
        begin = time.process_time()
        stays = list(find())
        if tool != "qorvel":
            stays = joined(stays)
        taken.append(time.process_time() - begin)
    return stays, statistics.median(taken)


def main(tool: str, out: str, *files: str) -> None:
    """Each file in turn, after a small one: what a tool does once only is not counted."""
    small = pd.DataFrame({"entity": "a", "lat": 1.0, "lon": 2.0, "time_ms": range(0, 10**7, 10**5)})
    list(TOOLS[tool](small)())
    for file in files:
        rows = pd.read_csv(file, dtype={"entity": str})
        rows = rows.sort_values(["entity", "time_ms"], ignore_index=True)
        fixes = len(rows)
        if tool != "qorvel" and "accuracy_m" in rows:
            rows = rows[rows.accuracy_m <= WORST_ACCURACY].reset_index(drop=True)
        stays, seconds = timed(tool, TOOLS[tool](rows))
        name = pathlib.Path(file).name
        print(
            f"{tool:14} {seconds:9.2f} s {fixes / seconds:14,.0f} fixes/s {len(stays):8,} stays  {name}",
            flush=True,
        )
        lines = [f"{seconds:.3f}"] + [",".join(map(str, stay)) for stay in stays]
        (pathlib.Path(out) / f"{name}.{tool}").write_text("\n".join(lines) + "\n")


if __name__ == "__main__":
    main(*sys.argv[1:])
