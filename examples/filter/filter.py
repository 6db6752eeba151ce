"""Averaging filter chain, as a program. The diagram of filter.json: run it as `python3 filter.py`."""

from __future__ import annotations

import os

import zarn

FOLDER = os.path.dirname(os.path.abspath(__file__))


def model() -> zarn.Model:
    m = zarn.Model(ts=0.005, tf=1.0, ti=0.0, name=os.path.join(FOLDER, 'filter.json'))
    signal = m.sinewave(frequency='f_signal', phase='0.0', name='signal')
    hum = m.sinewave(frequency='f_hum', phase='90.0', name='hum')
    amplitude = m.constant(expression='a_hum', name='amplitude')
    hum_scaled = m.multiply(hum, amplitude, name='hum_scaled')
    measured = m.add(signal, hum_scaled, name='measured')
    z1 = m.memory(measured, name='z1')
    pair1 = m.add(measured, z1, name='pair1')
    average1 = m.poly1st(pair1, coeffA='0.5', coeffB='0.0', name='average1')
    z2 = m.memory(average1, name='z2')
    pair2 = m.add(average1, z2, name='pair2')
    average2 = m.poly1st(pair2, coeffA='0.5', coeffB='0.0', name='average2')
    z3 = m.memory(average2, name='z3')
    pair3 = m.add(average2, z3, name='pair3')
    average3 = m.poly1st(pair3, coeffA='0.5', coeffB='0.0', name='average3')
    low_pass_z = m.memory(None, name='low_pass_z')
    difference = m.subtract(average3, low_pass_z, name='difference')
    alpha = m.poly1st(difference, coeffA='alpha', coeffB='0.0', name='alpha')
    low_pass = m.add(alpha, low_pass_z, name='low_pass')
    raw = m.to_workspace(measured, name='raw')
    averaged = m.to_workspace(average3, name='averaged')
    filtered = m.to_workspace(low_pass, name='filtered')
    low_pass_type = m.cast(low_pass, type='flt64', name='low_pass_type')
    m.wire(low_pass_type, low_pass_z.block, 0)
    return m


if __name__ == "__main__":
    print(model().run(workspace=os.path.join(FOLDER, "workspace.py")))
