"""One controller file, used twice, as a program. The diagram of two_tanks.json: run it as `python3 two_tanks.py`."""

from __future__ import annotations

import os

import zarn

FOLDER = os.path.dirname(os.path.abspath(__file__))


def model() -> zarn.Model:
    m = zarn.Model(ts=0.05, tf=30.0, ti=0.0, name=os.path.join(FOLDER, 'two_tanks.json'))
    level_1 = m.constant(expression='level_1', name='level_1')
    h_1 = m.memory(None, name='h_1')
    error_1 = m.subtract(level_1, h_1, name='error_1')
    pi_1 = m.block('refsys', 'pi_1', inputs=1, outputs=1, path='pi_controller.json')
    m.wire(error_1, pi_1, 0)
    leak_1 = m.poly1st(h_1, coeffA='leak_1', coeffB='0.0', name='leak_1')
    net_1 = m.subtract(pi_1[0], leak_1, name='net_1')
    fill_1 = m.poly1st(net_1, coeffA='mainsys.ts / area_1', coeffB='0.0', name='fill_1')
    level_next_1 = m.add(fill_1, h_1, name='level_next_1')
    tank_1 = m.to_workspace(h_1, name='tank_1')
    h_1_type = m.cast(level_next_1, type='flt64', name='h_1_type')
    level_2 = m.constant(expression='level_2', name='level_2')
    h_2 = m.memory(None, name='h_2')
    error_2 = m.subtract(level_2, h_2, name='error_2')
    pi_2 = m.block('refsys', 'pi_2', inputs=1, outputs=1, path='pi_controller.json')
    m.wire(error_2, pi_2, 0)
    leak_2 = m.poly1st(h_2, coeffA='leak_2', coeffB='0.0', name='leak_2')
    net_2 = m.subtract(pi_2[0], leak_2, name='net_2')
    fill_2 = m.poly1st(net_2, coeffA='mainsys.ts / area_2', coeffB='0.0', name='fill_2')
    level_next_2 = m.add(fill_2, h_2, name='level_next_2')
    tank_2 = m.to_workspace(h_2, name='tank_2')
    h_2_type = m.cast(level_next_2, type='flt64', name='h_2_type')
    m.wire(h_1_type, h_1.block, 0)
    m.wire(h_2_type, h_2.block, 0)
    return m


if __name__ == "__main__":
    print(model().run(workspace=os.path.join(FOLDER, "workspace.py")))
