"""The notebooks run as they are."""

import pytest
from support import ROOT

nbclient = pytest.importorskip("nbclient")
nbformat = pytest.importorskip("nbformat")
pytest.importorskip("ipykernel")
NOTEBOOKS = sorted((ROOT / "docs" / "notebooks").glob("*.ipynb"))


def test_there_are_notebooks():
    assert len(NOTEBOOKS) == 4


@pytest.mark.parametrize("path", NOTEBOOKS, ids=lambda path: path.stem)
def test_a_notebook(path):
    book = nbformat.read(path, as_version=4)
    kept = [cell.outputs for cell in book.cells if cell.cell_type == "code"]
    assert any(kept), "it is kept as it was executed"
    nbclient.NotebookClient(book, timeout=300, resources={"metadata": {"path": str(path.parent)}}).execute()
    for cell, before in zip([cell for cell in book.cells if cell.cell_type == "code"], kept):
        texts = [[o["data"].get("text/plain") for o in outputs if "data" in o] for outputs in (cell.outputs, before)]
        if "plot" not in cell.source and "plt" not in cell.source:
            assert texts[0] == texts[1], cell.source
