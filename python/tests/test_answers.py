"""What comes out is what the program writes, whatever the rows come in."""

import base64
import datetime
import re
import struct
import zlib

import duckdb
import pandas as pd
import polars as pl
import pyarrow as pa
import pytest
from conftest import COMMANDS, csv_text, data_files, read

import qorvel

# Streams of the sample world have rows that are hours late, of which the program knows.
OPTIONS = {
    "presence": {"final": True},
    "stays": {"late": "ever"},
    "places": {"late": "ever", "label": True, "time_zone": "+01:00"},
}


def answer(command, table, **options):
    return getattr(qorvel, command)(table, **OPTIONS.get(command, {}), **options)


def difference(command, table, wanted, **options):
    """The first line that is not the program's; none if all are."""
    got = csv_text(answer(command, table, **options))
    if command == "stays":  # which come when they are final, and that hangs on what is promised
        got, wanted = in_order(got), in_order(wanted)
    if got == wanted:
        return None
    pairs = zip(got.splitlines(), wanted.splitlines(), strict=False)
    return next((pair for pair in pairs if pair[0] != pair[1]), "another number of lines")


def in_order(text):
    return "".join(sorted(text.splitlines(keepends=True)))


def batched(table, size):
    """A stream, which can be read once and has no length."""
    return pa.RecordBatchReader.from_batches(table.schema, table.to_batches(max_chunksize=size))


def as_numpy(table):
    return {name: table[name].to_numpy(zero_copy_only=False) for name in table.column_names}


def with_timestamps(table):
    times = table["time_ms"].cast(pa.timestamp("ms")).cast(pa.timestamp("us", "Europe/Zurich"))
    names = [name for name in table.column_names if name != "time_ms"]
    return table.select(names).append_column("time", times)


def with_dictionaries(table):
    return table.set_column(0, "entity", table["entity"].dictionary_encode())


FORMS = {
    "pyarrow": lambda table: table,
    "polars": lambda table: pl.DataFrame(table),
    "polars, categories": lambda table: pl.DataFrame(table).cast({"entity": pl.Categorical}),
    "pandas": lambda table: table.to_pandas(),
    "duckdb": lambda tracks: duckdb.sql("FROM tracks"),
    "numpy": as_numpy,
    "timestamps": with_timestamps,
    "dictionaries": with_dictionaries,
    "a frame of categories": lambda t: t.to_pandas().astype({"entity": "category"}),
    "batches of 1": lambda table: batched(table, 1),
    "batches of 7": lambda table: batched(table, 7),
    "batches of 1000": lambda table: batched(table, 1000),
    "chunks of 1000": lambda table: pa.Table.from_batches(table.to_batches(max_chunksize=1000)),
}


@pytest.mark.parametrize("form", FORMS)
def test_any_form_gives_what_the_program_writes(form, program, world):
    table = read(world)
    for command in COMMANDS:
        wanted = program.answer(command, world)
        for threads in (1, 2):
            made = FORMS[form](table)
            assert difference(command, made, wanted, threads=threads) is None, command


@pytest.mark.parametrize("file", data_files(), ids=lambda file: file.name)
def test_real_movement_gives_what_the_program_writes(file, program):
    table = read(file)
    for command in COMMANDS:
        wanted = program.answer(command, file)
        assert difference(command, table, wanted, threads=2) is None, command


@pytest.mark.parametrize("size", [1, 7, 1000, 10**9])
def test_a_session_gives_the_same_bit_by_bit(size, program, world):
    table = read(world)
    session = qorvel.Session("stays", threads=1, late="ever")
    parts = [session.push(batch) for batch in table.to_batches(max_chunksize=size)]
    parts.append(session.finish())
    # Each part is a table of its own, of the same schema.
    whole = pa.concat_tables([pa.table(part) for part in parts if len(part)])
    assert in_order(csv_text(whole)) == in_order(program.answer("stays", world))
    assert session.figures["processed"] == table.num_rows


def is_a_state_as_documented(state):
    """By docs/state-format.md, with check sums of another hand."""
    magic, _, least, kind, length, _, header = struct.unpack_from("<8sHH4sQQI", state)
    assert (magic, least, kind, length) == (b"QRVL\r\n\x1a\n", 1, b"SESS", len(state))
    assert header == zlib.crc32(state[:32])
    assert struct.unpack("<I", state[-4:]) == (zlib.crc32(state[:-4]),)
    names, at = [], 36
    while at < len(state) - 4:
        name, need, size = struct.unpack_from("<4sIQ", state, at)
        end = at + 16 + size
        assert struct.unpack_from("<I", state, end) == (zlib.crc32(state[at:end]),)
        names.append((name, need))
        at = end + 4
    return names == [(b"RUN_", 1), (b"ENTS", 1), (b"SHAR", 1)]


def test_a_session_goes_on_from_its_state(world):
    table = read(world)
    session = qorvel.Session("stays", threads=1, late="ever")
    parts = []
    for batch in table.to_batches(max_chunksize=2000):
        parts += [session.push(batch), session.flush()]
        session.rejects()
        state = session.save()
        session = qorvel.Session("stays", threads=2, late="ever")
        for wrong in (b"", state[:-1], state[:99] + b"?" + state[100:]):
            with pytest.raises(qorvel.Error) as raised:
                session.load(wrong)
            assert raised.value.code == qorvel.Code.BAD_STATE
        session.load(state)
        assert session.save() == state
    assert is_a_state_as_documented(state)
    first = pa.table(table)["entity"][0].as_py()
    other = qorvel.Session("stays", late="ever")
    other.give_entities(session.take_entities([first]))
    parts += [session.finish(), other.finish()]
    whole = pa.concat_tables([pa.table(part) for part in parts if len(part)])
    assert in_order(csv_text(whole)) == in_order(csv_text(pa.table(qorvel.stays(table))))


@pytest.mark.parametrize("question", ["stays", "presence"])
def test_what_is_final_by_the_time_alone_is_given_and_forgotten(question, world):
    table = pa.table(read(world)).sort_by("time_ms")
    session = qorvel.Session(question, threads=1, late="1 minutes")
    assert len(session.advance(0)) == 0
    parts = [session.push(table), session.flush()]
    assert session.entities_remembered == 5
    parts.append(session.advance(datetime.datetime(2100, 1, 1)))
    session.forget_reported_before(datetime.datetime(2100, 1, 1, tzinfo=datetime.UTC))
    assert session.entities_remembered == 0
    assert len(session.finish()) == 0
    whole = pa.concat_tables([pa.table(part) for part in parts if len(part)])
    wanted = getattr(qorvel, question)(table)
    assert in_order(csv_text(whole)) == in_order(csv_text(pa.table(wanted)))
    for time in (-1, 1 << 63, "now", 1.5):
        with pytest.raises(qorvel.Error, match="Want a time since 1970"):
            session.advance(time)


def test_a_configuration_counts_as_in_the_program(program, world, tmp_path):
    text = """
[[master]]
name = "hours"
cell_length = 7
box = "1 hours"
[[assignment]]
master = "hours"
primary_key = "phone"
[[hangout]]
master = "hours"
primary_key = "phone"
min_count = 3
window = "10 minutes"
"""
    file = tmp_path / "config.toml"
    file.write_text(text)
    table = read(world)
    keys = pa.array(["phone" if row % 3 else None for row in range(table.num_rows)])
    table = table.append_column("key", keys)
    tracks = tmp_path / "tracks.csv"
    pa.csv.write_csv(table, tracks)
    wanted = program.run("hangouts", "--quiet", "--config", str(file), str(tracks))
    assert wanted.count("\n") > 10
    for config in (file, str(file), text):
        assert difference("hangouts", table, wanted, config=config) is None


def test_a_page_has_what_the_programs_has(program, world, tmp_path):
    def data(page):
        text = re.search('id="data">([^<]*)<', page.read_text())[1]
        return zlib.decompress(base64.b64decode(text))

    ours, theirs = tmp_path / "ours.html", tmp_path / "theirs.html"
    ours.write_text("old")
    ours.chmod(0o604)
    tiles = "https://tiles.invalid/{z}/{x}/{y}"
    qorvel.boxes(read(world)).to_html(ours, tiles=tiles)
    program.run("boxes", "--quiet", "--tiles", tiles, "--out", str(theirs), str(world))
    assert data(ours) == data(theirs)
    assert ours.stat().st_mode & 0o777 == 0o604
    assert sorted(file.name for file in tmp_path.iterdir()) == ["ours.html", "theirs.html"]
    numbered = qorvel.boxes({"entity": [-7], "lat": [1.0], "lon": [2.0], "time": [3]})
    numbered.to_html(theirs)
    assert b"\x02-7" in data(theirs)
    with pytest.raises(qorvel.Error, match="want an address"):
        numbered.to_html(ours, tiles="javascript:{z}{x}{y}")


def test_results_can_be_read_again_and_by_all(world):
    result = qorvel.stays(read(world))
    first, second = pa.table(result), result.to_pyarrow()
    assert first.equals(second)
    assert first.num_rows == len(result) > 0
    assert result.to_polars().equals(pl.DataFrame(first))
    pd.testing.assert_frame_equal(result.to_pandas(), first.to_pandas())
    assert duckdb.sql("SELECT count(*) FROM first").fetchall() == [(len(result),)]
    rows = [tuple(row.values()) for row in first.cast(times_as_numbers(first.schema)).to_pylist()]
    assert [tuple(row.values()) for row in result.head(10**9)] == rows
    shown = result._repr_html_()
    assert f"{len(result)} rows" in shown
    assert "<script" not in shown  # the page is within its frame
    assert "&lt;script" in shown
    frame = result.to_geopandas()
    assert str(frame.crs) == "OGC:CRS84"
    sides = frame.geometry.bounds
    assert abs((sides.minx + sides.maxx) / 2 - frame["lon"]).max() < 1e-9
    assert abs((sides.miny + sides.maxy) / 2 - frame["lat"]).max() < 1e-9


def times_as_numbers(schema):
    return pa.schema(
        [(f.name, pa.int64() if pa.types.is_timestamp(f.type) else f.type) for f in schema]
    )


def test_labels_are_the_rows_of_each_stay(program, world):
    """As many as the stay has fixes, from its first to its last, however the rows come in."""
    table = read(world).append_column("row", pa.array(range(read(world).num_rows)))
    stays = answer("stays", table).to_polars()
    labels = answer("stays", table, label=True).to_polars()
    key = ["entity", "from", "to"]
    times = pl.DataFrame(table).select("row", time=pl.from_epoch("time_ms", time_unit="ms"))
    found = (
        labels.join(times, on="row")
        .group_by(key)
        .agg(fixes=pl.len(), first=pl.min("time"), last=pl.max("time"))
        .sort(key)
    )
    assert found["fixes"].sum() > 1000
    assert found.select(*key, "fixes").rows() == stays.sort(key).select(*key, "fixes").rows()
    begin, end = (found[name].dt.replace_time_zone(None) for name in ("from", "to"))
    assert ((begin <= found["first"]) & (found["last"] <= end)).all()
    assert labels["row"].is_unique().all()
    wanted = labels.sort("row")
    for size, threads in ((1, 2), (777, 1)):
        got = answer("stays", batched(table, size), threads=threads, label=True).to_polars()
        assert got.sort("row").equals(wanted)


def test_an_empty_answer_says_what_would_change_it():
    every = {"entity": ["a", "b"] * 3, "lat": [47.0] * 6, "lon": [8.0, 8.0001] * 3}
    every["time"] = [i * 1_200_000 for i in range(6)]
    config = '[[master]]\nname = "m"\n[[assignment]]\nmaster = "m"\n[[presence]]\nmaster = "m"\n'
    for result, words in (
        (
            qorvel.stays(every, max_gap="5 minutes", max_bridge="5 minutes"),
            "farther than max_bridge (5 minutes)",
        ),
        (qorvel.meet(every, apart="10 seconds"), "with apart (10 seconds): a longer one"),
        (qorvel.meet(every | {"entity": ["a"] * 6}), 'columns={"entity": ...} says which'),
        (qorvel.presence(every, min_count=9), "where min_count asks for 9"),
        (qorvel.presence(every, config=config), "qorvel.explain says what a row lacks"),
    ):
        assert len(result) == 0
        (remark,) = result.remarks
        assert words in remark
    assert qorvel.boxes(every).remarks == ()
