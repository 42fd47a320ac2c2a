"""Explanations, checks and the sample world, beside what the program says."""

import re

import numpy as np
import pyarrow as pa
import pytest
from conftest import read

import qorvel

VERDICTS = {
    "not taken": "no assignment takes it",
    "no cell": "no cell holds it",
    "not asked for": "nothing looks at what",
    "found before": "was found before",
    "not enough": "is not enough yet",
}
CONFIG = """
[[master]]
[[assignment]]
max_space_tolerance = 50
[[assignment]]
secondary_key = 'red'
[[presence]]
min_count = 3
[[hangout]]
window = '10 minutes'
[[hangout]]
primary_key = 'ship'
"""


@pytest.mark.parametrize("analysis", ["boxes", "presence", "hangouts"])
def test_a_row_is_explained_as_the_program_explains_it(program, world, analysis):
    config = program.folder / "explained.toml"
    config.write_text(CONFIG)
    table, verdicts = read(world), set()
    for row in (0, 1, 40, 41, 300, 301, 302, 900, 5000):
        options = ["--for", analysis, "--row", str(row + 1)]
        text = program.run("explain", *options, "--config", str(config), str(world))
        told = qorvel.explain(table, row, analysis, config=config)
        verdicts.add(told.verdict)
        said = VERDICTS.get(told.verdict, f"gives {told.results} result")
        assert said in text.splitlines()[-1], text
        failed = [test.replace("_", " ") for one in told.assignments for test in one.failed]
        assert re.findall(r"  FAILS   (\w+(?: \w+)?)  ", text) == failed
        cells = [box.geohash for one in told.assignments for box in one.boxes]
        assert re.findall(r"touches cell (\w+)", text) == cells
        series = [(one.geohash, one.fixes) for way in told.specs for one in way.series]
        assert re.findall(r"  cell (\w+): (\d+) of", text) == [(c, str(n)) for c, n in series]
        found = [box.row for way in told.specs for one in way.series for box in one.boxes]
        lines = [None if row is None else row + 2 for row in found]
        by = re.findall(r"; (not found yet|found by this row|found before, by line (\d+))", text)
        assert [int(n) if n else None if w[0] == "n" else row + 2 for w, n in by] == lines
    assert len(verdicts) > 1


def test_a_row_that_cannot_be_explained():
    fixes = {"entity": np.array([7, 7]), "lat": [1.0, 99.0], "lon": [2.0, 2.0], "time": [5, 6]}
    told = qorvel.explain(fixes, 1)
    assert (told.verdict, "latitude" in told.reason) == ("rejected", True)
    assert qorvel.explain(fixes, 0).specs[0].series[0].fixes == 1
    for row, analysis in ((2, "boxes"), (-1, "boxes"), (0, "stays")):
        with pytest.raises(qorvel.Error, match=r"counted|Only"):
            qorvel.explain(fixes, row, analysis)


def test_a_configuration_is_checked_as_the_program_checks_it(program, world):
    config = program.folder / "checked.toml"
    config.write_text(CONFIG.replace("10 minutes", "10 seconds"))
    text = program.run("check", "--config", str(config), str(world))
    told = qorvel.check(config, read(world))
    assert told.is_valid
    assert f"{told.rows} read, {told.rejected} rejected" in text
    for fault in told.faults:
        where = f", line {fault.line}: " if fault.line else ""
        assert f"{where}warning: {fault.sentence}" in text
    assert len(told.faults) == text.count("warning: ") > 2
    assert told.usual_gap.total_seconds() > 10
    wrong = qorvel.check("[[master]]\n[[assignment]]\ngeohashes = ['a']\n", read(world))
    assert (wrong.is_valid, wrong.rows, wrong.faults[0].line) == (False, 0, 2)
    assert wrong.faults[0].tags


def test_the_sample_world_is_the_programs(program, world):
    made, written = pa.table(qorvel.synth(entities=5, days=2)), read(world)
    for name in ("entity", "lat", "lon", "accuracy_m"):
        assert made[name].to_pylist() == written[name].cast(made[name].type).to_pylist()
    assert made["time"].cast(pa.int64()).to_pylist() == written["time_ms"].to_pylist()
    truth = qorvel.synth(entities=5, days=2, truth=True)
    assert truth.column_names[:2] == ["entity", "place"]
    for wrong in ({"entities": 0}, {"days": 3651}):
        with pytest.raises(qorvel.Error, match="has to be from 1"):
            qorvel.synth(**wrong)
