"""The notebook of the examples runs, and its cells show what they are said to."""

import pathlib

import nbclient
import nbformat

NOTEBOOK = pathlib.Path(__file__).resolve().parents[2] / "examples" / "town.ipynb"


def kinds(notebook):
    """What is under each cell with code: of values that change with the detector, the kinds."""
    return [
        [(output.output_type, *output.get("data", ())) for output in cell.outputs]
        for cell in notebook.cells
        if cell.cell_type == "code"
    ]


def test_the_notebook_runs():
    notebook = nbformat.read(NOTEBOOK, as_version=4)
    wanted = kinds(notebook)
    assert all(wanted)
    nbclient.NotebookClient(notebook, timeout=600, kernel_name="python3").execute()
    assert kinds(notebook) == wanted
