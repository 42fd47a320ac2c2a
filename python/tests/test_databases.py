"""Tracks come from a database in a file, by table and by query, and answers go into one."""

import sqlite3

import duckdb
import pandas as pd
import pyarrow as pa
import pytest
import shapely
from conftest import csv_text, read

import qorvel

HALF = "SELECT entity, lat, lon, time FROM fixes WHERE lon > 10.1 ORDER BY time, entity"


class DuckDb:
    def __init__(self, folder, tracks):
        self.connection = duckdb.connect(folder / "fleet.duckdb")
        self.connection.execute(
            "CREATE TABLE fixes AS SELECT entity, lat, lon, make_timestamp_ms(time_ms) AS time, "
            "accuracy_m FROM tracks"
        )

    def table(self):
        return self.connection.table("fixes")

    def ask(self, query):
        return self.connection.sql(query)

    def store(self, name, result):
        self.connection.register("shapes", result.to_geopandas().to_wkb())
        self.connection.execute(f"CREATE TABLE {name} AS FROM shapes")
        return self.connection.sql(f"FROM {name}").to_arrow_table()


class Sqlite:
    def __init__(self, folder, tracks):
        self.connection = sqlite3.connect(folder / "fleet.sqlite")
        frame = tracks.to_pandas()
        frame["time"] = pd.to_datetime(frame.pop("time_ms"), unit="ms", utc=True)
        frame.to_sql("fixes", self.connection, index=False)

    def table(self):
        return self.ask("SELECT * FROM fixes")

    def ask(self, query):
        return pd.read_sql(query, self.connection, parse_dates=["time"])

    def store(self, name, result):
        result.to_geopandas().to_wkb().to_sql(name, self.connection, index=False)
        query = f'SELECT * FROM "{name}"'
        times = {"from": {"utc": True}, "to": {"utc": True}}
        frame = pd.read_sql(query, self.connection, parse_dates=times)
        return pa.Table.from_pandas(frame, preserve_index=False)


@pytest.mark.parametrize("database", [DuckDb, Sqlite])
def test_tracks_come_from_databases_and_answers_go_there(database, world, tmp_path):
    tracks = read(world)
    own = database(tmp_path, tracks)
    rows = tracks.filter(pa.compute.field("lon") > 10.1).sort_by(
        [("time_ms", "ascending"), ("entity", "ascending")]
    )
    for command, options in ("stays", {}), ("meet", {"within": 200}):
        answer = getattr(qorvel, command)
        wanted = answer(tracks, late="ever", **options)
        result = answer(own.table(), late="ever", **options)
        assert len(wanted) > 0
        assert csv_text(result) == csv_text(wanted)
        assert csv_text(answer(own.ask(HALF), **options)) == csv_text(
            answer(rows.drop_columns("accuracy_m"), **options)
        )
        kept = own.store(command, result)
        shapes = shapely.from_wkb(kept["geometry"].to_pylist())
        assert shapely.equals(shapes, result.to_geopandas().geometry.to_numpy()).all()
        plain = result.to_pyarrow()
        for name in plain.column_names:
            assert kept[name].cast(plain.schema.field(name).type).equals(plain[name]), name
