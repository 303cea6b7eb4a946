"""Rows of tables: what the library says of one residue, one peak and the like."""

from typing import NamedTuple


class Residue(NamedTuple):
    """A residue of a molecule, as its file names it."""

    chain: str
    number: int
    insert_code: str
    name: str
