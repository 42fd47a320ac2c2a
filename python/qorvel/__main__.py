"""The program's commands on files of Parquet, GeoParquet, Arrow and CSV.

Run ``python -m qorvel --help``.
"""

from __future__ import annotations

import argparse
import dataclasses
import json
import os
import sys
import typing
from collections.abc import Callable, Sequence
from typing import Any

import qorvel
from qorvel._files import expect_writable, read_tracks, write_table
from qorvel._geohash_command import add_geohash, run_geohash
from qorvel._options import Cells, Encounters, Places, Records, Stays
from qorvel._tables import FIELDS

# Each command with its options and what it answers.
COMMANDS: dict[str, tuple[type, Callable[..., qorvel.Table], str]] = {
    "boxes": (Cells, qorvel.boxes, "the cells and time boxes of every fix"),
    "presence": (Records, qorvel.presence, "who was seen often enough in which cell and time box"),
    "hangouts": (Records, qorvel.hangouts, "who stayed without a break in which cell and time box"),
    "stays": (Stays, qorvel.stays, "who stayed where, from when to when"),
    "places": (Places, qorvel.places, "where who stayed again and again, and how long"),
    "meet": (Encounters, qorvel.meet, "who was with whom, from when to when"),
}
ELSEWHERE = ("columns", "progress")
EXIT_USAGE, EXIT_BROKEN, EXIT_INTERRUPTED, EXIT_READER_GONE = 2, 3, 130, 141


def add_options(parser: argparse.ArgumentParser, options: type) -> None:
    """Add an option for each that the function has."""
    for name, kind in typing.get_type_hints(options).items():
        if name in ELSEWHERE:
            continue
        flag = "--" + name.replace("_", "-")
        kinds = typing.get_args(kind) or (kind,)
        if bool in kinds:
            parser.add_argument(flag, action="store_true", default=None)
        else:
            read = next((one for one in (int, float) if one in kinds), str)
            parser.add_argument(flag, type=read, metavar=read.__name__.upper())


def add_input(parser: argparse.ArgumentParser, **how: Any) -> None:  # noqa: ANN401
    """Add the file of tracks and its columns."""
    parser.add_argument("file", help="file of tracks, or a folder of Parquet files", **how)
    for field in FIELDS:
        parser.add_argument(f"--{field.replace('_', '-')}-column", metavar="NAME")


def make_parser() -> argparse.ArgumentParser:
    """Make the command line."""
    parser = argparse.ArgumentParser("python -m qorvel", description=__doc__, allow_abbrev=False)
    parser.add_argument("--version", action="version", version=qorvel.__version__)
    commands = parser.add_subparsers(dest="command", required=True)

    def add(name: str, what: str) -> argparse.ArgumentParser:
        return commands.add_parser(name, help=what, description=what, allow_abbrev=False)

    for name, (options, _, what) in COMMANDS.items():
        command = add(name, what)
        add_input(command)
        add_options(command, options)
        command.add_argument("--out", default="-", help="file for the results; CSV by default")
        command.add_argument("--rejects", help="file for the rows that cannot be used")
        command.add_argument("--quiet", action="store_true", help="no summary")
    explain = add("explain", "why a row found nothing")
    add_input(explain)
    add_options(explain, Records)
    explain.add_argument("--row", type=int, required=True, help="its number, the first being 1")
    explain.add_argument("--for", dest="analysis", default="hangouts", metavar="COMMAND")
    check = add("check", "what is wrong with a configuration, or surely not meant")
    check.add_argument("--config", required=True)
    add_input(check, nargs="?")
    add_geohash(add("geohash", "geohash texts to places and back"))
    synth = add("synth", "a made-up town to try things on")
    for name in ("entities", "days", "seed"):
        synth.add_argument(f"--{name}", type=int, default=argparse.SUPPRESS)
    synth.add_argument("--out", default="-")
    synth.add_argument("--truth", help="file for who stayed where")
    return parser


def run(said: argparse.Namespace) -> int:
    """Do what is asked."""
    asked = vars(said)
    command = asked.pop("command")
    if command == "geohash":
        return 0 if run_geohash(asked) else 1
    files = [asked.pop(name, None) for name in ("out", "rejects", "truth")]
    for name in filter(None, files):
        expect_writable(name)
    out, rejects, truth = files
    columns = {
        field: name for field in FIELDS if (name := asked.pop(f"{field}_column", None)) is not None
    }
    if command == "synth":
        write_table(qorvel.synth(**asked), str(out))
        if truth:
            write_table(qorvel.synth(**asked, truth=True), truth)
        return 0
    file = asked.pop("file")
    table, columns = read_tracks(file, columns) if file else (None, columns)
    if command == "check":
        checked = qorvel.check(asked["config"], table, columns=columns)
        print(told(checked))
        return 0 if checked.is_valid else EXIT_USAGE
    if command == "explain":
        row, analysis = asked.pop("row"), asked.pop("analysis")
        print(told(qorvel.explain(table, row - 1, analysis, columns=columns, **given(asked))))
        return 0
    is_quiet = asked.pop("quiet")
    results = COMMANDS[command][1](table, columns=columns, **given(asked))
    write_table(results, str(out))
    bad = results.rejects()
    if rejects:
        write_table(bad, rejects)
    if not is_quiet:
        for remark in (f"{len(results)} results, {len(bad)} rows rejected", *results.remarks):
            print("qorvel:", remark, file=sys.stderr)
    return 1 if len(bad) else 0


def given(asked: dict[str, Any]) -> dict[str, Any]:
    """Leave out what was not said."""
    return {name: value for name, value in asked.items() if value is not None}


def told(answer: Any) -> str:  # noqa: ANN401
    """Write an answer that is no table."""

    def plain(value: Any) -> Any:  # noqa: ANN401
        if dataclasses.is_dataclass(value):
            names = [field.name for field in dataclasses.fields(value)]
            return {name: plain(getattr(value, name)) for name in names}
        if hasattr(value, "_asdict"):
            return {name: plain(one) for name, one in value._asdict().items()}
        if isinstance(value, tuple):
            return [plain(one) for one in value]
        return value

    return json.dumps(plain(answer), default=str, indent=2)


def main(arguments: Sequence[str] | None = None) -> int:
    """Run a command; what it returns is the program's exit code."""
    said = make_parser().parse_args(arguments)
    try:
        code = run(said)
        sys.stdout.flush()
    except qorvel.Error as error:
        print("qorvel:", error, file=sys.stderr)
        return EXIT_USAGE
    except BrokenPipeError:
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return EXIT_READER_GONE
    except (OSError, ValueError) as error:  # pyarrow's are ValueErrors
        print("qorvel:", " ".join(str(error).split()), file=sys.stderr)
        return EXIT_BROKEN
    except KeyboardInterrupt:
        return EXIT_INTERRUPTED
    return code


if __name__ == "__main__":
    sys.exit(main())
