"""The commands on files: python -m qorvel."""

import io
import json
import subprocess
import sys

import geopandas
import pyarrow as pa
import pyarrow.csv
import pyarrow.feather
import pyarrow.parquet
import pytest
from conftest import read

import qorvel
from qorvel.__main__ import main

READ = {
    "out.parquet": pyarrow.parquet.read_table,
    "out.arrow": lambda file: pa.ipc.open_file(file).read_all(),
    "out.csv": pyarrow.csv.read_csv,
}


@pytest.fixture(scope="module")
def files(world, tmp_path_factory):
    """The sample world in each kind of file."""
    folder, table = tmp_path_factory.mktemp("files"), read(world)
    places = geopandas.points_from_xy(table["lon"].to_numpy(), table["lat"].to_numpy())
    rest = table.drop_columns(["lat", "lon"]).to_pandas()
    for name, system in (("geo", "EPSG:4326"), ("far", "EPSG:3857")):
        shown = geopandas.GeoDataFrame(rest, geometry=places, crs=system)
        shown.to_parquet(folder / f"{name}.parquet")
    pyarrow.parquet.write_table(table, folder / "plain.parquet")
    pyarrow.feather.write_feather(table, folder / "file.feather")
    with pa.ipc.new_stream(folder / "stream.arrow", table.schema) as writer:
        writer.write_table(table)
    (folder / "parts").mkdir()
    pyarrow.parquet.write_table(table, folder / "parts" / "one.parquet")
    (folder / "text.csv").write_bytes(world.read_bytes())
    (folder / "broken.parquet").write_bytes(b"PAR1" * 9)
    (folder / "notes.txt").write_text("none")
    return folder


@pytest.mark.parametrize(
    "name", ["plain.parquet", "geo.parquet", "file.feather", "stream.arrow", "parts", "text.csv"]
)
@pytest.mark.parametrize("out", READ)
def test_files_in_and_out(name, out, files, world, tmp_path):
    arguments = ["stays", str(files / name), "--min-stay", "20 minutes", "--late", "ever"]
    assert main([*arguments, "--out", str(tmp_path / out), "--quiet"]) == 0
    wanted = pa.table(qorvel.stays(read(world), min_stay="20 minutes", late="ever"))
    got = READ[out](tmp_path / out)
    assert [path.name for path in tmp_path.iterdir()] == [out]
    for column in ("entity", "minutes", "fixes", "lat"):
        assert sorted(got[column].to_pylist()) == sorted(wanted[column].to_pylist())


def test_geoparquet_has_the_shapes(files, tmp_path):
    for command, kind in (("hangouts", "Polygon"), ("meet", "Point")):
        out = tmp_path / f"{command}.parquet"
        assert main([command, str(files / "text.csv"), "--out", str(out), "--quiet"]) == 0
        shapes = geopandas.read_parquet(out)
        assert (set(shapes.geom_type), shapes.crs.to_authority()) == ({kind}, ("OGC", "CRS84"))
        assert (shapes.geometry.centroid.x - shapes.lon).abs().max() < 1e-6


def test_what_is_no_table_of_results(files, capsys):
    assert main(["explain", str(files / "text.csv"), "--row", "1", "--for", "boxes"]) == 0
    assert json.loads(capsys.readouterr().out)["verdict"] == "found"
    assert main(["check", "--config", "[[master]]\n"]) == 2
    assert "assignment" in capsys.readouterr().out
    assert main(["synth", "--entities", "1", "--days", "1"]) == 0
    assert capsys.readouterr().out.startswith('"entity","lat","lon"')


@pytest.mark.parametrize(
    ("question", "lines"),
    [
        (["encode", "47.3712", "8.5401"], ""),
        (["encode", "-33.9", "-70", "--length", "12"], ""),
        (["encode", "0", "0.00002", "--bits", "33"], ""),
        (["encode", "-"], "1,2\n1;2\r\n-1\t2\n 3  4\nnorth\n90,0\n\n5,6"),
        (["decode", "u0qj6r"], ""),
        (["decode", "-"], "s00000\na\n\nu\nzzzzzzzzzzzz\n"),
        (["centroid", "7zzzzzzzz"], ""),
        (["centroid", "-"], "ezs42\n!\nsp3"),
        (["neighbours", "u0qj6r"], ""),
        (["neighbours", "z"], ""),
    ],
)
def test_geohashes_are_as_the_program_tells_them(question, lines, program, capsys, monkeypatch):
    wanted = subprocess.run(
        [program.path, "geohash", *question], input=lines, capture_output=True, text=True
    )
    monkeypatch.setattr(sys, "stdin", io.StringIO(lines, newline=""))
    code = main(["geohash", *question])
    told = capsys.readouterr()
    assert (code, told.out) == (wanted.returncode, wanted.stdout), wanted.stderr
    assert told.err.count("\n") == wanted.stderr.count("\n")


@pytest.mark.parametrize(
    ("arguments", "code", "says"),
    [
        (["stays", "none.csv"], 2, "no file"),
        (["stays", "notes.txt"], 2, "not known by its name"),
        (["stays", "text.csv", "--out", "map.docx"], 2, "not known by its name"),
        (["stays", "text.csv", "--out", "nowhere/a.csv"], 3, "nowhere"),
        (["stays", "broken.parquet"], 3, "arquet"),
        (["stays", "far.parquet"], 2, "coordinate system"),
        (["stays", "text.csv", "--lat-column", "north"], 2, "north"),
        (["stays", "text.csv", "--min-stay", "soon"], 2, "min_stay"),
        (["hangouts", "text.csv", "--config", "nowhere.toml"], 2, "nowhere.toml"),
        (["geohash", "decode", "a!"], 2, "a!"),
        (["geohash", "encode", "91", "0"], 2, "91, 0"),
        (["geohash", "encode", "1"], 2, "longitude"),
        (["geohash", "encode", "1", "2", "--length", "13"], 2, "1 to 60 bits"),
    ],
)
def test_faults_are_one_sentence(arguments, code, says, files, capsys, monkeypatch):
    monkeypatch.chdir(files)
    before = sorted(files.iterdir())
    assert main(arguments) == code
    told = capsys.readouterr()
    assert (says in told.err, told.err.count("\n"), told.out) == (True, 1, ""), told.err
    assert sorted(files.iterdir()) == before


def test_without_pyarrow_it_says_so(files, capsys, monkeypatch):
    monkeypatch.setitem(sys.modules, "pyarrow", None)
    assert main(["stays", str(files / "text.csv")]) == 2
    assert "pip install pyarrow" in capsys.readouterr().err
