"""Tables of all kinds: which columns count, which rows do, and what is refused."""

import datetime
import itertools
import sys

import geopandas
import numpy as np
import pandas
import pyarrow as pa
import pytest
import shapely
from hypothesis import given, settings
from hypothesis import strategies as st

import qorvel

NOON = 1718366400000


def fixes(**columns):
    """Ada at one place, every minute for an hour."""
    rows = 60
    usual = {
        "entity": ["ada"] * rows,
        "lat": np.full(rows, 47.394),
        "lon": np.full(rows, 8.525),
        "time": NOON + 60000 * np.arange(rows),
    }
    return {name: column for name, column in (usual | columns).items() if column is not None}


def rows_of(table):
    return pa.table(table).to_pylist()


GUESSED = [
    ("entity lat lon time", "entity lat lon time"),
    ("USER Latitude lng timestamp", "USER Latitude lng timestamp"),
    ("id entity lat lon x y t time_ms", "entity lat lon time_ms"),
    ("mmsi y x basedatetime hdop", "mmsi y x basedatetime hdop"),
]


@pytest.mark.parametrize(("names", "found"), GUESSED)
def test_columns_are_found_by_their_usual_names(names, found):
    table = pa.table({name: pa.array([], pa.float64()) for name in names.split()})
    assert list(qorvel.guess(table).values()) == found.split()


def test_a_dilution_of_precision_stands_for_five_metres_each():
    ten_metres = qorvel.boxes(fixes(accuracy=np.full(60, 10.0)), cell_length=9)
    for kind in (np.float32, np.float64, np.int8, np.uint64):
        assert rows_of(qorvel.boxes(fixes(hdop=np.full(60, 2, kind)), cell_length=9)) == rows_of(
            ten_metres
        )


def points_of(kind):
    points = geopandas.GeoSeries(geopandas.points_from_xy([8.525] * 60, [47.394] * 60), crs=4326)
    if kind == "wkb, other byte order, with a system":
        wkb = shapely.to_wkb(shapely.set_srid(points.values, 4326), byte_order=0, include_srid=True)
        return pa.array(list(wkb), pa.large_binary())
    if kind == "wkb view":
        return pa.array(list(shapely.to_wkb(points.values)), pa.binary_view())
    return pa.array(
        points.to_arrow(geometry_encoding=kind.split(",")[0], interleaved=", i" in kind)
    )


@pytest.mark.parametrize(
    "kind",
    [
        "WKB",
        "geoarrow, interleaved",
        "geoarrow",
        "wkb view",
        "wkb, other byte order, with a system",
    ],
)
def test_points_count_as_latitude_and_longitude(kind):
    wanted = rows_of(qorvel.stays(fixes()))
    assert len(wanted) == 1
    table = pa.table(fixes(lat=None, lon=None)).append_column("where", points_of(kind))
    for part in (table, table.to_batches()[0]):
        assert rows_of(qorvel.stays(part, columns={"point": "where"})) == wanted
    sliced = table.slice(7)
    assert rows_of(qorvel.stays(sliced, columns={"point": "where"})) == rows_of(
        qorvel.stays(pa.table(fixes()).slice(7))
    )


def test_a_frame_with_a_geometry_needs_degrees():
    frame = geopandas.GeoDataFrame(
        fixes(lat=None, lon=None), geometry=geopandas.points_from_xy([8.5] * 60, [47] * 60)
    )
    assert len(qorvel.stays(frame.set_crs(4326))) == 1
    with pytest.raises(qorvel.Error, match="coordinate system"):
        qorvel.stays(frame.set_crs(2056, allow_override=True))


def test_points_that_cannot_be_read_are_rejects():
    wkb = [shapely.to_wkb(shapely.Point(8, 47)), None, b"\x01\x02", b"", b"\x07" * 30]
    wkb.append(shapely.to_wkb(shapely.LineString([(0, 0), (1, 1)])))
    table = pa.table(
        {"id": ["a"] * 6, "time": pa.array([NOON] * 6), "where": pa.array(wkb, pa.binary())}
    )
    rejects = rows_of(qorvel.boxes(table, columns={"point": "where"}).rejects())
    assert [(row["row"], row["reason"].split()[-1]) for row in rejects] == [
        (1, "missing"),
        *[(row, "range") for row in (2, 3, 4, 5)],
    ] or [row["row"] for row in rejects] == [1, 2, 3, 4, 5]


ENTITIES = {
    "text": (
        st.text(st.characters(codec="utf-8", exclude_characters="\0"), max_size=4),
        pa.string(),
    ),
    "large": (st.sampled_from(["a", "b", "cc" * 9]), pa.large_string()),
    "view": (st.sampled_from(["a", "b", "cc" * 9]), pa.string_view()),
    "dictionary": (st.sampled_from("abc"), pa.dictionary(pa.int8(), pa.string())),
    "small": (st.integers(-3, 3), pa.int8()),
    "unsigned": (st.sampled_from([0, 1, 2**64 - 1]), pa.uint64()),
}


@st.composite
def tables(draw):
    """A table in chunks, some empty, cut out of a larger one, and what its rows are."""
    names, kind = draw(st.sampled_from(list(ENTITIES.values())))
    number = st.one_of(st.none(), st.sampled_from([0.0, 1e-7, 89.9, 90.5, float("nan")]))
    time = st.one_of(st.none(), st.integers(-5, 10**7))
    row = st.tuples(st.one_of(st.none(), names), number, number, time, number)
    rows = draw(st.lists(row, max_size=30))
    columns = list(zip(*rows, strict=True)) or [()] * 5
    kinds = [kind, pa.float64(), pa.float64(), pa.timestamp("ms"), pa.float32()]
    arrays = [
        pa.array(list(column), to)
        if not pa.types.is_dictionary(to)
        else pa.array(list(column), pa.string()).dictionary_encode().cast(to)
        for column, to in zip(columns, kinds, strict=True)
    ]
    table = pa.table(arrays, names=["entity", "lat", "lon", "time", "accuracy"])
    begin = draw(st.integers(0, len(rows)))
    end = draw(st.integers(begin, len(rows)))
    cuts = sorted(draw(st.lists(st.integers(begin, end), max_size=4)))
    bounds = [begin, *cuts, end]
    pieces = [table.slice(a, b - a) for a, b in itertools.pairwise(bounds)]
    return pa.concat_tables(pieces), rows[begin:end]


def is_usable(row):
    entity, lat, lon, time, accuracy = row
    return (
        entity not in (None, "")
        and lat is not None
        and -90 <= lat <= 90
        and lon is not None
        and -180 <= lon <= 180
        and time is not None
        and time >= 0
        and (accuracy is None or 0 <= accuracy < float("inf"))
    )


@settings(max_examples=60)
@given(tables())
def test_rows_are_what_they_are_however_the_table_is_made(made):
    table, rows = made
    result = qorvel.boxes(table, threads=1, space_factor=0)
    bad = [number for number, row in enumerate(rows) if not is_usable(row)]
    assert [row["row"] for row in rows_of(result.rejects())] == bad
    good = [row for row in rows if is_usable(row)]
    seen = [(row["entity"], row["time"].timestamp() * 1000) for row in rows_of(result)]
    in_cells = [(row[0], row[3]) for row in good if row[1] < 90]
    assert seen == [(entity, pytest.approx(time)) for entity, time in in_cells]


def test_arrays_of_any_kind_are_read():
    wanted = rows_of(qorvel.stays(fixes()))
    times = np.array(fixes()["time"], "M8[ms]")
    for changed in (
        {"time": times},
        {"time": times.astype("M8[ns]")},
        {"time": times.astype("M8[m]")},
        {"lat": np.full(120, 47.394)[::2]},
        {"entity": np.array(["ada"] * 60)},
        {"entity": pa.array(["ada"] * 60)},
        {"accuracy": np.full(60, np.nan)},
        {"accuracy": np.full(60, 30)},
    ):
        assert rows_of(qorvel.stays(fixes(**changed))) == wanted, changed.keys()
    gaps = np.where(np.arange(60) % 7, times, np.datetime64("NaT"))
    assert len(qorvel.stays(fixes(time=gaps)).rejects()) == 9
    assert rows_of(qorvel.stays(fixes(entity=np.full(60, 7, np.uint8))))[0]["entity"] == 7
    masked = np.ma.masked_array(np.full(60, 47.0), np.arange(60) % 6 == 0)
    assert len(qorvel.stays(fixes(lat=masked)).rejects()) == 10
    assert (qorvel.geohash.encode(masked, masked.data, 5) == "").sum() == 10


class Strange:
    pass


REFUSED = [
    (lambda: qorvel.stays(Strange()), "MISUSE", "no table"),
    (lambda: qorvel.stays(fixes(lat=None)), "MISSING_COLUMN", "lat"),
    (lambda: qorvel.stays(fixes(latitude=np.zeros(60))), "MISSING_COLUMN", "may both be"),
    (lambda: qorvel.stays(fixes(), columns={"lat": "none"}), "MISSING_COLUMN", '"none"'),
    (lambda: qorvel.stays(fixes(), columns={"where": "lat"}), "MISUSE", '"where"'),
    (lambda: qorvel.stays(fixes(time=["noon"] * 60)), "BAD_COLUMN", "time"),
    (lambda: qorvel.stays(fixes(lat=np.zeros(3))), "BAD_COLUMN", "3 rows"),
    (lambda: qorvel.stays(fixes(lat=np.zeros((60, 2)))), "BAD_COLUMN", "dimensions"),
    (lambda: qorvel.stays(fixes(lat=np.zeros(60, complex))), "BAD_COLUMN", "complex"),
    (lambda: qorvel.stays(fixes(time=np.ma.masked_all(60, int))), "BAD_COLUMN", "masked"),
    (lambda: qorvel.stays(fixes(entity=[b"ada"] * 60)), "BAD_COLUMN", "entity"),
    (lambda: qorvel.stays(fixes(), columns={"point": "lat"}), "BAD_COLUMN", "no points"),
    (lambda: qorvel.stays(fixes(), min_stay="soon"), "BAD_CONFIGURATION", "min_stay"),
    (lambda: qorvel.stays(fixes(), max_gap=datetime.timedelta(0)), "BAD_CONFIGURATION", "above 0"),
    (lambda: qorvel.stays(fixes(), threads=0), "BAD_CONFIGURATION", "threads"),
    (lambda: qorvel.stays(fixes(), threads=-1), "BAD_CONFIGURATION", "threads"),
    (lambda: qorvel.stays(fixes(), radius=0), "BAD_CONFIGURATION", "radius"),
    (lambda: qorvel.places(fixes(), time_zone="Here"), "BAD_CONFIGURATION", "Here"),
    (lambda: qorvel.hangouts(fixes(), config="a=1", box="1 hours"), "BAD_CONFIGURATION", "box"),
    (lambda: qorvel.Session("walks"), "BAD_CONFIGURATION", "walks"),
    (lambda: qorvel.stays(fixes(), window="1 days"), "BAD_CONFIGURATION", "window"),
    (lambda: qorvel.boxes(fixes(), config="nowhere.toml"), "MISUSE", "nowhere.toml"),
    (lambda: qorvel.geohash.encode([1.0], [2.0], 13), "BAD_CONFIGURATION", "13"),
    (lambda: qorvel.geohash.encode([1.0], [2.0, 3.0], 5), "MISUSE", "as many"),
    (lambda: qorvel.geohash.decode("u0qj"), "MISUSE", "array"),
    (lambda: qorvel.geohash.within(47, 8, 2e7, 12), "TOO_LARGE", "ten million"),
    (lambda: qorvel.geohash.within(90, 8, 1, 5), "MISUSE", "centre"),
]


@pytest.mark.parametrize(("call", "code", "says"), REFUSED)
def test_faults_are_one_sentence_with_a_code(call, code, says):
    with pytest.raises(qorvel.Error, match=says) as caught:
        call()
    assert caught.value.code.name == code
    assert isinstance(caught.value, ValueError)


def test_a_fault_of_a_configuration_tells_line_and_tags():
    config = '[[master]]\nname = "m"\n\n[[assignment]]\nmaster = "m"\ngeohashes = ["a"]\n'
    with pytest.raises(qorvel.Error) as caught:
        qorvel.boxes(fixes(), config=config)
    assert caught.value.line == 4
    assert caught.value.tags


def test_a_frame_is_read_where_pyarrow_is_not_installed(monkeypatch):
    frame = pandas.DataFrame(fixes(other=[object()] * 60))
    frame["time"] = pandas.to_datetime(frame["time"], unit="ms").dt.tz_localize("Asia/Tokyo")
    wanted = rows_of(qorvel.stays(frame))
    monkeypatch.setitem(sys.modules, "pyarrow", None)
    kept = qorvel.stays(frame)
    monkeypatch.undo()
    assert rows_of(kept) == wanted
    assert len(wanted) == 1
