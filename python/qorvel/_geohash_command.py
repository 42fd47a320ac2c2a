"""Geohashes one by one, in text: the command geohash."""

from __future__ import annotations

import argparse
import re
import sys
from collections.abc import Iterator
from typing import Any

from qorvel import _engine
from qorvel._errors import Code, Error
from qorvel.geohash import _cells, _texts

TASKS = {
    "encode": "the cell of a point",
    "decode": "its centre, edges and size",
    "neighbours": "the cells around it, as on a map",
    "centroid": "its centre",
}
BY_LINE = "-"
USUAL_BITS, MOST_BITS, BITS_PER_CHARACTER = 30, 60, 5
DECODED = "geohash,bits,lat,lon,south,west,north,east,height_m,width_m"
MOST_CHARACTERS = 12
MOST_TOLD = 10


def add_geohash(command: argparse.ArgumentParser) -> None:
    """Add what can be asked."""
    tasks = command.add_subparsers(dest="task", required=True)
    for name, what in TASKS.items():
        task = tasks.add_parser(name, help=what, description=what, allow_abbrev=False)
        if name == "encode":
            task.add_argument(
                "lat", help="degrees; - for points from standard input, LAT,LON a line"
            )
            task.add_argument("lon", nargs="?", help="degrees")
            size = task.add_mutually_exclusive_group()
            size.add_argument("--bits", type=int, help="bits of the cell, 1 to 60; 30 by default")
            size.add_argument("--length", type=int, help="characters in their place, 1 to 12")
        else:
            by_line = "" if name == "neighbours" else "; - for one a line from standard input"
            task.add_argument("geohash", help=f"text of the cell{by_line}")


def run_geohash(asked: dict[str, Any]) -> bool:
    """Print the answer, or one for each line; False if there were bad lines."""
    _want_numpy()
    task = asked["task"]
    if task == "encode":
        bits = _bits(asked["bits"], asked["length"])
        question, has_both = str(asked["lat"]), asked["lon"] is not None
        is_by_line = question == BY_LINE
        if is_by_line == has_both:
            raise Error("Want a latitude and a longitude, or - for lines of both.", Code.MISUSE)
        question = f"{question},{asked['lon']}"
    else:
        bits, question = 0, asked["geohash"]
        is_by_line = question == BY_LINE and task != "neighbours"
    answers = _answers(task, bits) if is_by_line else iter([(_answer(task, question, bits), "")])
    if task == "decode":
        print(DECODED)
    refused = 0
    for answer, why in answers:
        print(answer)
        if why:
            refused += 1
            _tell(refused, why)
    return refused == 0


def _want_numpy() -> None:
    try:
        import numpy  # noqa: F401
    except ImportError:
        raise Error(
            'Geohashes are numpy\'s arrays, which is not installed; "pip install numpy".',
            Code.MISUSE,
        ) from None


def _answers(task: str, bits: int) -> Iterator[tuple[str, str]]:
    """Of each line of standard input the answer, empty where the line is bad, and why it is."""
    for number, line in enumerate(sys.stdin, 1):
        try:
            yield _answer(task, line.rstrip("\r\n"), bits), ""
        except Error as error:
            yield "", f"standard input, line {number}: {error}"


def _tell(refused: int, why: str) -> None:
    if refused <= MOST_TOLD:
        print("qorvel:", why, file=sys.stderr)
    elif refused == MOST_TOLD + 1:
        print("qorvel: more lines are bad, and have an empty line", file=sys.stderr)


def _bits(bits: int | None, length: int | None) -> int:
    if length is not None:
        bits = BITS_PER_CHARACTER * length
    if not 1 <= (bits := USUAL_BITS if bits is None else bits) <= MOST_BITS:
        raise Error("A cell has 1 to 60 bits here, which are up to 12 characters.", Code.MISUSE)
    return bits


def _answer(task: str, question: str, bits: int) -> str:
    """Answer one question, on one line or more."""
    if task == "encode":
        return _encode(question, bits)
    cells = _cells([question])
    if not cells.depths[0]:
        raise Error(f'"{question}" is no geohash of 1 to 12 characters.', Code.MISUSE)
    lat, lon = (values.item() for values in cells.centres(arrow=False))
    if task == "centroid":
        return f"{_plain(lat)},{_plain(lon)}"
    text = _text_of(cells)[0]
    if task == "neighbours":
        n, ne, e, se, s, sw, w, nw = _text_of(cells.neighbours())
        return "\n".join(",".join(row) for row in ((nw, n, ne), (w, text, e), (sw, s, se)))
    west, south, east, north = (values.item() for values in cells.sides(arrow=False))
    height, width = (values.item() for values in cells.extents())
    numbers = [_plain(value) for value in (lat, lon, south, west, north, east)]
    return ",".join([text, str(cells.depths[0]), *numbers, _rounded(height), _rounded(width)])


def _encode(question: str, bits: int) -> str:
    try:
        lat, lon = (float(part) for part in re.split("[,;\t|]| +", question.strip(" "), maxsplit=1))
    except ValueError:
        raise Error("Want a latitude and a longitude, as in 47.3712,8.5401.", Code.MISUSE) from None
    import numpy as np

    point = _engine.Cells.of_points(np.array([lat]), np.array([lon]), MOST_CHARACTERS)
    text = _text_of(point.cut(np.array([bits])))[0]
    if not text:
        raise Error(
            f"No cell holds {_plain(lat)}, {_plain(lon)}: latitude is -90 to below 90, longitude "
            "-180 to below 180 degrees.",
            Code.MISUSE,
        )
    return text


def _text_of(cells: _engine.Cells) -> list[str]:
    texts: Any = _texts(cells, is_arrow=False)
    return list(texts.tolist())


def _plain(value: float) -> str:
    return repr(value).removesuffix(".0")


def _rounded(metres: float) -> str:
    return f"{metres:.0f}" if metres >= 999.5 else f"{metres:.3g}"
