"""Cells on arrays: the library's, of numpy and of Arrow."""

import csv
import os
import pathlib

import numpy as np
import pandas
import pyarrow as pa
import pyarrow.compute as pc
import pytest
import shapely
from hypothesis import example, given, settings
from hypothesis import strategies as st

import qorvel
from qorvel import geohash

EDGES = [
    0.0,
    -0.0,
    1e-300,
    5e-324,
    -90.0,
    90.0,
    89.99999999999999,
    -180.0,
    180.0,
    179.99999999999997,
]
LATITUDES = st.one_of(st.sampled_from(EDGES), st.floats(-90, 90), st.floats())
LONGITUDES = st.one_of(st.sampled_from(EDGES), st.floats(-180, 180), st.floats())


@settings(max_examples=200)
@given(st.lists(st.tuples(LATITUDES, LONGITUDES), max_size=20), st.integers(1, 12))
def test_cells_are_the_librarys(points, length):
    """The engine's boxes have them, and their centres, from the library."""
    lat = np.array([point[0] for point in points], float)
    lon = np.array([point[1] for point in points], float)
    fixes = {
        "entity": np.arange(len(points)),
        "lat": lat,
        "lon": lon,
        "time": np.full(len(points), 5),
    }
    boxes = pa.table(qorvel.boxes(fixes, cell_length=length, space_factor=0, threads=1))
    wanted = dict(zip(boxes["entity"].to_pylist(), boxes["geohash"].to_pylist(), strict=True))
    cells = geohash.encode(lat, lon, length)
    assert {row: cell for row, cell in enumerate(cells.tolist()) if cell} == wanted
    assert pa.array(geohash.encode(pa.array(lat), pa.array(lon), length)).to_pylist() == [
        cell or None for cell in cells.tolist()
    ]
    for found, column in zip(geohash.decode(boxes["geohash"]), ("lat", "lon"), strict=True):
        assert pa.array(found).equals(boxes[column].combine_chunks())


def test_published_cells_come_out():
    file = pathlib.Path(os.environ.get("QORVEL_TEST_DATA", "")) / "geohash_vectors.csv"
    if not file.is_file():
        pytest.skip("no reference values: QORVEL_TEST_DATA names their folder")
    rows = list(csv.DictReader(file.open()))
    for length in range(1, 13):
        own = [row for row in rows if len(row["geohash"]) == length]
        cells = geohash.encode(
            [float(r["lat"]) for r in own], [float(r["lon"]) for r in own], length
        )
        assert cells.tolist() == [row["geohash"] for row in own]


@pytest.mark.parametrize(
    "cell", ["u0qj6r", "u0qj6", "b", "0", "zzzz", "bpbp", "s00000000000", "ZZz"]
)
def test_neighbours_and_sides_are_the_programs(cell, program):
    lines = [line.split(",") for line in program.run("geohash", "neighbours", cell).splitlines()]
    around = [lines[0][1], lines[0][2], lines[1][2], lines[2][2], lines[2][1], lines[2][0]]
    assert geohash.neighbours([cell]).tolist() == [[*around, lines[1][0], lines[0][0]]]
    row = program.run("geohash", "decode", cell).splitlines()[1].split(",")
    sides = [side.tolist()[0] for side in geohash.bounds([cell])]
    assert sides == [float(row[place]) for place in (5, 4, 7, 6)]
    assert shapely.from_wkb(geohash.to_wkb([cell])[0]).equals(shapely.box(*sides))


TEXTS = st.one_of(
    st.none(), st.sampled_from(["", "a", "u0qj6r", "U0", "zzz", "u" * 13, "é", "b\0b"])
)


@given(st.lists(TEXTS, max_size=9), st.integers(0, 3), st.integers(1, 12))
def test_arrow_and_numpy_agree_on_texts_of_any_kind(texts, begin, length):
    kept = texts[begin:]
    kinds = (pa.string(), pa.large_string(), pa.string_view())
    arrays = [pa.array(texts, kind)[begin:] for kind in kinds]
    arrays.append(pa.chunked_array([pa.array(texts, pa.string())]).slice(begin))
    for array in arrays:
        for function in (geohash.bounds, geohash.decode):
            for one, other in zip(function(array), function(kept), strict=True):
                assert np.array_equal(pc.fill_null(pa.array(one), np.nan), other, equal_nan=True)
        assert pa.array(geohash.parent(array, length)).to_pylist() == [
            cell or None for cell in geohash.parent(kept, length).tolist()
        ]
        around = [cell or None for cell in geohash.neighbours(kept).ravel().tolist()]
        assert pa.array(geohash.neighbours(array)).flatten().to_pylist() == around
        assert pa.array(geohash.to_wkb(array)).to_pylist() == geohash.to_wkb(kept).tolist()


def test_frames_of_pandas_take_what_comes_of_their_columns():
    places = pandas.DataFrame({"lat": [47.3712, None], "lon": [8.5401, 1]}).convert_dtypes()
    places["cell"] = geohash.encode(places.lat, places.lon, 6)
    assert places.cell.tolist() == ["u0qj6r", ""]
    places.loc[1, "cell"] = None
    places["larger"] = geohash.parent(places.cell, 2)
    places["north"] = geohash.bounds(places.larger)[3]
    assert places.north.tolist()[0] == 50.625
    assert places.north.isna().tolist() == [False, True]


@settings(max_examples=40)
@given(st.floats(-90, 89.9), st.floats(-180, 179.9), st.floats(0, 3e6), st.integers(1, 3))
@example(-1e-114, 0.0, 0.0, 1)
def test_a_circle_reaches_what_lies_in_it(lat, lon, radius, length):
    """By a slow look at many points: those well within are in a cell that was given, and each cell
    that was given has a point that is not far off.
    """
    cells = geohash.within(lat, lon, radius, length).tolist()
    assert len(set(cells)) == len(cells)
    assert geohash.encode([lat], [lon], length)[0] in cells
    random = np.random.default_rng(1)
    away = radius / 6378137 * np.sqrt(random.random(500)) * 0.999999
    towards = 2 * np.pi * random.random(500)
    phi, lam = np.radians(lat), np.radians(lon)
    lats = np.arcsin(
        np.clip(np.sin(phi) * np.cos(away) + np.cos(phi) * np.sin(away) * np.cos(towards), -1, 1)
    )
    lons = lam + np.arctan2(
        np.sin(towards) * np.sin(away) * np.cos(phi), np.cos(away) - np.sin(phi) * np.sin(lats)
    )
    lons = (np.degrees(lons) + 540) % 360 - 180
    reached = geohash.encode(np.degrees(lats), lons, length)
    assert set(reached.tolist()) - {""} <= set(cells)
    west, south, east, north = geohash.bounds(cells)
    nearest = distance_to_boxes(lat, lon, west, south, east, north)
    assert (nearest <= radius * 1.000001 + 1).all()


def distance_to_boxes(lat, lon, west, south, east, north):
    """To the nearest of many points on the sides of each."""
    share = np.linspace(0, 1, 400)[:, None]
    lats = np.concatenate(
        [south + share * (north - south)] * 2 + [south + 0 * share, north + 0 * share]
    )
    lons = np.concatenate([west + 0 * share, east + 0 * share, *[west + share * (east - west)] * 2])
    phi, phis, aside = np.radians(lat), np.radians(lats), np.radians(lons - lon)
    half = np.sin((phis - phi) / 2) ** 2 + np.cos(phi) * np.cos(phis) * np.sin(aside / 2) ** 2
    least = 2 * 6378137 * np.arcsin(np.sqrt(np.clip(half, 0, 1))).min(axis=0)
    inside = (west <= lon) & (lon <= east) & (south <= lat) & (lat <= north)
    step = np.radians(np.maximum(north - south, east - west)) / 399 * 6378137
    return np.where(inside, 0, np.maximum(0, least - step))
