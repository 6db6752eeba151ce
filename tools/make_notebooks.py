#!/usr/bin/python3
"""Writes the notebooks of docs/notebooks and executes them.

    PYTHONPATH=build/release/python tools/make_notebooks.py
"""

from __future__ import annotations

import re
from pathlib import Path

import nbclient
import nbformat

OUT = Path(__file__).resolve().parents[1] / "docs" / "notebooks"

# cells: a text that begins with # is markdown
FIRST_MODEL = [
    "# First model\n\nA first-order lag that follows a step, built by program, checked, drawn and run.",
    "%matplotlib inline\nimport matplotlib\nmatplotlib.rcParams['figure.dpi'] = 60\nimport zarn",
    "m = zarn.Model(ts=0.01, tf=3.0, name='lag.json')\n"
    "ref = m.step(stepTime=0.5, name='ref')\n"
    "y = m.signal('flt64', name='y')\n"
    "y.close(y + 0.02 * (ref - y))\n"
    "m.output('response', y)\n"
    "m",
    "## What the checks say\n\nEvery problem has a code, a place, and what mends it.",
    "m.check()",
    "## Run\n\nA result is a mapping from names to arrays of numpy.",
    "run = m.run(probes=['ref', 'response'])\nrun",
    "run['response'][[0, 50, 100, -1]], run['response'].time[-1]",
    "run.plot();",
    "## Keep it\n\n`save` lays the blocks out; the file opens in every editor.",
    "import os, tempfile\n"
    "path = os.path.join(tempfile.mkdtemp(), 'lag.json')\n"
    "m.save(path)\nzarn.load(path).meaning() == m.meaning()",
    "print(zarn.load(path).to_python().replace(path, 'lag.json'))",
]
TUNING = [
    "# Tuning a PID\n\nA plant of second order, a PI controller with limits and anti-windup, and a grid of gains.",
    "%matplotlib inline\nimport matplotlib\nmatplotlib.rcParams['figure.dpi'] = 60\n"
    "import numpy as np\nimport scipy.signal\nimport zarn",
    "plant = scipy.signal.cont2discrete(([1.0], [1.0, 1.2, 1.0]), 0.02)\n\n"
    "m = zarn.Model(ts=0.02, tf=20.0, name='tuning.json')\n"
    "ref = m.step(stepTime=1.0, name='ref')\n"
    "y = m.signal('flt64', name='y')\n"
    "error = m.subtract(ref, y, name='error')\n"
    "u = m.pi(error, kp='kp', ki='ki', low=-2.0, high=2.0, name='controller')\n"
    "y.close(m.transfer_function(u, np.ravel(plant[0]), plant[1], name='plant'))\n"
    "m.output('out', y)\nm.output('u', u)\nm.check(evaluate=True, workspace={'kp': 1.0, 'ki': 1.0})",
    "m.run(workspace={'kp': 1.0, 'ki': 0.8}).plot();",
    "## A grid\n\n600 runs, compiled once; of each the integral of the absolute error and the overshoot.",
    "grid = zarn.sweep(m, {'kp': np.linspace(0.2, 4.0, 30), 'ki': np.linspace(0.1, 2.0, 20)},\n"
    "                  measures=['peak=max(out)', 'iae=iae(out, 1.0)'])\n"
    "table = grid.to_pandas()\n"
    "best = table[table.peak < 1.05].sort_values('iae').iloc[0]\nbest",
    "run = m.run(workspace={'kp': best.kp, 'ki': best.ki})\nrun.plot();",
]
MONTE_CARLO = [
    "# Monte Carlo of a DC motor\n\nThe speed control of `examples/motor`, with parts that differ from their data sheets.",
    "%matplotlib inline\nimport matplotlib\nmatplotlib.rcParams['figure.dpi'] = 60\n"
    "import matplotlib.pyplot as plt\nimport os\nimport scipy.stats\nimport zarn\n\n"
    "folder = os.path.join(os.environ.get('ZARN_EXAMPLES', '../../examples'), 'motor')\n"
    "model = zarn.load(os.path.join(folder, 'motor.json'))\n"
    "workspace = os.path.join(folder, 'workspace.py')\n"
    "nominal = model.run(workspace=workspace)\nnominal['speed'][-1]",
    "names = nominal.workspace\n"
    "parts = {name: scipy.stats.norm(names[name], 0.05 * names[name]) for name in ('R', 'L', 'K', 'J')}\n"
    "runs = zarn.sweep(model, parts, sample='sobol', n=512, seed=7, workspace=workspace, probes='mainsys.speed', every=10,\n"
    "                  measures='peak=max(mainsys.speed)')\nruns",
    "for row in runs.signals['mainsys.speed'][::16]:\n"
    "    plt.plot(runs.time, row, color='tab:blue', alpha=0.3, linewidth=0.8)\n"
    "plt.plot(nominal['speed'].time, nominal['speed'], color='black')\n"
    "plt.xlabel('time [s]'); plt.ylabel('speed');",
    "runs.to_pandas()[['R', 'L', 'K', 'J', 'peak']].describe().loc[['mean', 'std', 'min', 'max']].round(4)",
]
PLANT = [
    "# A loop with a plant in Python\n\nThe controller is a block diagram, the plant is Python: each step hands over one value each way.",
    "import zarn",
    "m = zarn.Model(ts=0.01, tf=10.0, name='controller.json')\n"
    "level = m.input('level')\n"
    "m.output('valve', m.pi(1.5 - level, kp=4.0, ki=2.0, low=0.0, high=1.0))\n"
    "m.check(evaluate=True)",
    "def tank(level, valve, dt=0.01):\n"
    "    return level + dt * (2.0 * valve - 0.6 * max(level, 0.0) ** 0.5)\n\n"
    "level, levels = 0.0, []\n"
    "with m.start() as s:\n"
    "    while not s.done:\n"
    "        s['level'] = level\n"
    "        s.step()\n"
    "        level = tank(level, s.value('valve'))\n"
    "        levels.append(level)\n"
    "        if s.count == 300:\n"
    "            taken, there = s.snapshot(), level\n"
    "levels[-1]",
    "## What if the outlet had been opened at 3 s?\n\nA snapshot is where the controller was; the plant is ours.",
    "with m.start() as s:\n"
    "    s.restore(taken)\n"
    "    level = there\n"
    "    while not s.done:\n"
    "        s['level'] = level\n"
    "        s.step()\n"
    "        level = tank(level, s.value('valve')) - 0.01 * 0.3\n"
    "level",
]
NOTEBOOKS = {
    "first_model": FIRST_MODEL, "tuning_a_pid": TUNING, "monte_carlo": MONTE_CARLO, "plant_in_python": PLANT,
}  # fmt: skip


def notebook_of(cells: list[str]) -> nbformat.NotebookNode:
    made = nbformat.v4.new_notebook()
    for number, text in enumerate(cells):
        cell = nbformat.v4.new_markdown_cell(text) if text.startswith("#") else nbformat.v4.new_code_cell(text)
        cell["id"] = f"cell-{number}"
        made.cells.append(cell)
    made.metadata["kernelspec"] = {"name": "python3", "display_name": "Python 3", "language": "python"}
    return made


def main() -> None:
    OUT.mkdir(exist_ok=True)
    for name, cells in NOTEBOOKS.items():
        made = notebook_of(cells)
        nbclient.NotebookClient(made, timeout=120, resources={"metadata": {"path": str(OUT)}}).execute()
        for cell in made.cells:
            cell.get("metadata", {}).pop("execution", None)
        text = nbformat.writes(made, indent=1)
        (OUT / f"{name}.ipynb").write_text(re.sub(r"[ \t]+$", "", text, flags=re.M) + "\n")


if __name__ == "__main__":
    main()
