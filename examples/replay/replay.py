"""Replay of a recording, as a program. The diagram of replay.json: run it as `python3 replay.py`."""

from __future__ import annotations

import os

import zarn

FOLDER = os.path.dirname(os.path.abspath(__file__))


def model() -> zarn.Model:
    m = zarn.Model(ts=0.25, tf=10.0, ti=0.0, name=os.path.join(FOLDER, 'replay.json'))
    recording = m.from_workspace(expression='recording', name='recording')
    characteristic = m.lut1d(recording, bp1='[0.0, 20.0, 60.0, 100.0]', out='[0.0, 5.0, 40.0, 100.0]', name='characteristic')
    alarm = m.hysteresis(characteristic, valueOn='80.0', valueOff='60.0', name='alarm')
    peak = m.max(characteristic, name='peak')
    linearised = m.to_workspace(characteristic, name='linearised')
    highest = m.to_workspace(peak, name='highest')
    alarm_on = m.to_workspace(alarm, name='alarm_on')
    return m


if __name__ == "__main__":
    print(model().run(workspace=os.path.join(FOLDER, "workspace.py")))
