"""Whole models through the command: what inspect, run and generate give, against independent answers.

    python3 vectors_test.py ZARN DATA

ZARN is the command, DATA the folder of the vectors. For every model NAME.json there are NAME.inspect.json and
NAME.run.json, and for some the folders NAME.c and NAME.py; NAME.ws.py is the workspace script that a model needs.
"""

import json
import math
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ZARN = None
MODELS = []


def zarn(*arguments):
    """The command's exit status and outputs."""
    done = subprocess.run([ZARN, *map(str, arguments)], capture_output=True, text=True, check=False)
    return done.returncode, done.stdout, done.stderr


def workspace(model):
    script = model.with_suffix('.ws.py')
    return ['-w', script] if script.exists() else []


def expected(model, kind):
    return json.loads(model.with_suffix(f'.{kind}.json').read_text())


class Vectors(unittest.TestCase):
    maxDiff = 2000

    def test_inspect(self):
        self.for_each(self.inspect)

    def test_run(self):
        self.for_each(self.run_all)

    def test_generate(self):
        self.for_each(self.generate)

    def for_each(self, check):
        for model in MODELS:
            with self.subTest(model.stem):
                check(model)

    def inspect(self, model):
        python = workspace(model) or ['--python']
        status, out, err = zarn('inspect', '--json', model, *python)
        self.assertEqual(status, 0, err)
        answer, want = json.loads(out), expected(model, 'inspect')
        for key in ('result', 'log', 'links', 'enable_map'):
            self.assertEqual(answer[key], want[key], key)
        blocks = sorted(answer['blocks'], key=lambda block: block['id'])
        self.assertEqual([block['id'] for block in blocks], [block['id'] for block in want['blocks']])
        for block, wanted in zip(blocks, want['blocks']):
            self.assertEqual(block, wanted)

    def run_all(self, model):
        status, out, err = zarn('run', '--probe-all', '--json', model, *workspace(model))
        self.assertEqual(status, 0, err)
        answer, want = json.loads(out), expected(model, 'run')
        self.assertEqual(answer['result'], want['result'])
        self.assertEqual(sorted(answer['series']), sorted(want['series']))
        rounded = {str(block) for block in want['approximate']}
        for name, series in want['series'].items():
            made = answer['series'][name]
            self.assertEqual(made['t'], series['t'], name)
            self.assertEqual(len(made['v']), len(series['v']), name)
            for step, (value, wanted) in enumerate(zip(made['v'], series['v'])):
                if name.split(':')[0] in rounded:
                    self.assertTrue(self.near(value, wanted), f'{name}, step {step}: {value} {wanted}')
                else:
                    self.assertEqual(value, wanted, f'{name}, step {step}')

    @staticmethod
    def near(a, b):
        """Equal but for the last bits of a mathematical function."""
        if isinstance(a, str) or isinstance(b, str):
            return a == b
        return a == b or math.isclose(a, b, rel_tol=1e-12)

    def generate(self, model):
        for language, project in (('c', 'zarn-ccoder'), ('py', 'zarn-pcoder')):
            kept = model.with_suffix(f'.{language}') / project
            if not kept.exists():
                continue
            with tempfile.TemporaryDirectory() as folder:
                status, _, err = zarn('generate', language, model, folder, *workspace(model))
                self.assertEqual(status, 0, err)
                made = Path(folder) / project
                self.assertEqual(sorted(p.name for p in made.iterdir()), sorted(p.name for p in kept.iterdir()))
                for file in kept.iterdir():
                    # the answers have unsigned 64-bit constants without the suffix that C needs for the largest
                    text = re.sub(r'( = \d{19,20})u;', r'\1;', (made / file.name).read_text())
                    self.assertEqual(text, file.read_text(), file)


if __name__ == '__main__':
    ZARN = Path(sys.argv[1]).resolve()
    data = Path(sys.argv[2]).resolve()
    MODELS = sorted(p.with_name(p.name.replace('.inspect.json', '.json')) for p in data.glob('*/*.inspect.json'))
    if not MODELS:
        sys.exit(f'no models in {data}')
    unittest.main(argv=sys.argv[:1])
