"""What is settled before a task starts."""

from __future__ import annotations

import os
import pathlib
from collections.abc import Mapping
from typing import Any

import pyarrow as pa

from qorvel._analyses import configuration
from qorvel._errors import Code, Error
from qorvel.spark._input import Input
from qorvel.spark._task import Question

# What is decided by the cluster, and not for all analyses in the same way.
NOT_HERE = {
    "threads": "Spark gives a task a core",
    "progress": "Spark shows how far it is",
    "late": "rows are put in order first",
    "buckets": "they are for streams",
    "label": "rows have no numbers",
}


def make_question(
    analysis: str,
    found: Input,
    config: str | os.PathLike[str] | None,
    settings: Mapping[str, Any],
) -> Question:
    """Put together what goes to the tasks."""
    for name, why in NOT_HERE.items():
        if name in settings and not (name == "label" and analysis == "places"):
            raise Error(f'There is no setting "{name}" here: {why}.', Code.BAD_CONFIGURATION)
    return Question(analysis, _text_of(config), settings, found.columns)


def results_of(question: Question, found: Input) -> pa.Schema:
    """Give the schema of the results as Spark has it; refuses what the engine refuses."""
    table = question.session().push(found.empty)
    return pa.schema(
        pa.field(field.name, _in_spark(field.type)) for field in table.to_pyarrow().schema
    )


def _in_spark(kind: pa.DataType) -> pa.DataType:
    return pa.timestamp("us", "UTC") if pa.types.is_timestamp(kind) else kind


def _text_of(config: str | os.PathLike[str] | None) -> str | None:
    """Read a file here: tasks run where it may not be."""
    if config is None:
        return None
    said = configuration(config)
    if "config_text" in said:
        return str(said["config_text"])
    try:
        return pathlib.Path(config).read_text(encoding="utf-8")
    except (OSError, ValueError) as error:
        raise Error(
            f'The configuration "{config}" cannot be read: {error}.', Code.BAD_CONFIGURATION
        ) from error
