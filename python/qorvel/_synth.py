"""The sample world."""

from __future__ import annotations

from qorvel import _engine
from qorvel._table import Table


def synth(*, entities: int = 200, days: int = 3, seed: int = 1, truth: bool = False) -> Table:
    """Make the tracks of a sample town: people, delivery vans and ships.

    The same arguments give the same tracks everywhere, those of the program.

    Parameters
    ----------
    entities : int
        How many move about, 1 to 1,000,000.
    days : int
        For how long, 1 to 3650.
    seed : int
        Another one makes another town; from 0.
    truth : bool
        In place of what their devices report, who stayed where from when to when.

    Returns
    -------
    Table
        ``entity``, ``lat`` and ``lon`` (degrees), ``time`` and ``accuracy_m``, in the order in
        which the reports came in; or ``entity``, ``place``, ``lat``, ``lon``, ``radius_m``,
        ``from`` and ``to``.
    """
    return Table(_engine.synth(entities, days, seed, truth))
