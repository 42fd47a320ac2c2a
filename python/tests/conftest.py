import csv
import gzip
import os
import pathlib
import re
import shutil
import subprocess

import pyarrow as pa
import pyarrow.compute as pc
import pyarrow.csv
import pytest
from hypothesis import HealthCheck, settings

# A busy machine fails no test, and every run looks at the same examples.
settings.register_profile(
    "steady", deadline=None, derandomize=True, suppress_health_check=[HealthCheck.too_slow]
)
settings.load_profile("steady")

ROOT = pathlib.Path(__file__).resolve().parents[2]
COMMANDS = {
    "boxes": [],
    "presence": ["--final"],
    "hangouts": [],
    "stays": [],
    "places": ["--label", "--time-zone", "+01:00"],
    "meet": [],
}


def find_program():
    built = [str(ROOT / "build" / preset / "program" / "qorvel") for preset in ("release", "dev")]
    for candidate in [os.environ.get("QORVEL_PROGRAM", ""), *built]:
        if candidate and shutil.which(candidate):
            return candidate
    pytest.skip("no program to compare with; build it, or name it with QORVEL_PROGRAM")
    return None


class Program:
    def __init__(self, folder):
        self.path = find_program()
        self.folder = folder
        self.known = {}

    def run(self, *arguments, **options):
        return subprocess.run(
            [self.path, *arguments], check=True, capture_output=True, text=True, **options
        ).stdout

    def answer(self, command, tracks):
        """What it writes, as a text; each is asked once."""
        key = command, tracks
        if key not in self.known:
            self.known[key] = self.run(command, *COMMANDS[command], "--quiet", str(tracks))
        return self.known[key]


@pytest.fixture(scope="session")
def program(tmp_path_factory):
    return Program(tmp_path_factory.mktemp("program"))


@pytest.fixture(scope="session")
def world(program):
    """The sample world, small: a CSV file."""
    file = program.folder / "world.csv"
    program.run("synth", "--entities", "5", "--days", "2", "--out", str(file))
    return file


def data_files():
    folder = os.environ.get("QORVEL_TEST_DATA")
    files = sorted(pathlib.Path(folder).glob("*.csv.gz")) if folder else []
    return [file for file in files if gzip.open(file, "rt").readline().startswith("entity,")]


def read(file):
    """The observations of a file of tracks."""
    with (gzip.open if file.suffix == ".gz" else open)(file, "rb") as stream:
        kinds = {"entity": pa.string(), "time_ms": pa.int64(), "lat": pa.float64()}
        options = pyarrow.csv.ConvertOptions(column_types=kinds | {"lon": pa.float64()})
        table = pyarrow.csv.read_csv(stream, convert_options=options)
    if "time" in table.column_names and not pa.types.is_timestamp(table["time"].type):
        raise AssertionError(table.schema)
    return table


def degrees_text(value):
    units = int(abs(value) * 1e7 + 0.5)
    return f"{'-' if value < 0 and units else ''}{units // 10**7}.{units % 10**7:07d}"


def csv_text(table):
    """A table of results as the program writes it, the times of places in their zone."""
    out = pa.table(table)
    later, zone = (3_600_000, "+01:00") if "night_hours" in out.column_names else (0, "Z")
    columns = []
    for name, column in zip(out.column_names, out.columns, strict=True):
        if pa.types.is_timestamp(column.type):
            shown = pc.add(column.cast(pa.timestamp("ms")), pa.scalar(later, pa.duration("ms")))
            texts = shown.cast(pa.string()).to_pylist()
            columns.append(
                [
                    "ever" if t is None else re.sub(r"\.000$", "", t.replace(" ", "T")) + zone
                    for t in texts
                ]
            )
        elif name.endswith("hours"):
            hundredths = [int(value * 100 + 0.5) for value in column.to_pylist()]
            columns.append([f"{part // 100}.{part % 100:02d}" for part in hundredths])
        elif name.endswith("_m"):
            columns.append([f"{value:.2f}" for value in column.to_pylist()])
        elif pa.types.is_floating(column.type):
            columns.append([degrees_text(value) for value in column.to_pylist()])
        else:
            columns.append(["" if v is None else str(v) for v in column.to_pylist()])
    lines = [out.column_names, *zip(*columns, strict=True)]
    return "".join(",".join(map(quoted, line)) + "\n" for line in lines)


def quoted(text):
    if not re.search(r'[,"\r\n]|^[ \t]|[ \t]$', text):
        return text
    return '"' + text.replace('"', '""') + '"'


def rows_of(text):
    return list(csv.DictReader(text.splitlines()))
