"""Mixed integer and float path, as a program. The diagram of mixed_types.json: run it as `python3 mixed_types.py`."""

from __future__ import annotations

import os

import zarn

FOLDER = os.path.dirname(os.path.abspath(__file__))


def model() -> zarn.Model:
    m = zarn.Model(ts=0.01, tf=2.0, ti=0.0, name=os.path.join(FOLDER, 'mixed_types.json'))
    sensor = m.sinewave(frequency='1.0', phase='0.0', name='sensor')
    to_counts = m.poly1st(sensor, coeffA='counts', coeffB='0.0', name='to_counts')
    adc = m.cast(to_counts, type='int16', name='adc')
    threshold = m.constant(expression='threshold', name='threshold')
    threshold16 = m.cast(threshold, type='int16', name='threshold16')
    above = m.relational(adc, threshold16, operator='gt', name='above')
    one = m.constant(expression='1', name='one')
    one8 = m.cast(one, type='uint8', name='one8')
    zero = m.constant(expression='0', name='zero')
    zero8 = m.cast(zero, type='uint8', name='zero8')
    pick = m.if_(above, one8, zero8, name='pick')
    never = m.constant(expression='False', name='never')
    count = m.acc(pick, zero8, never, name='count')
    volts_per_count = m.constant(expression='v_full / counts', name='volts_per_count')
    volts = m.multiply(adc, volts_per_count, name='volts')
    low_nibble = m.unpack(to_counts, lsb='0', msb='3', coeffA='1.0', coeffB='0.0', name='low_nibble')
    voltage = m.to_workspace(volts, name='voltage')
    samples_above = m.to_workspace(count, name='samples_above')
    nibble = m.to_workspace(low_nibble, name='nibble')
    return m


if __name__ == "__main__":
    print(model().run(workspace=os.path.join(FOLDER, "workspace.py")))
