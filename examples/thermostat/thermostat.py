"""Subsystems with enable, as a program. The diagram of thermostat.json: run it as `python3 thermostat.py`."""

from __future__ import annotations

import os

import zarn

FOLDER = os.path.dirname(os.path.abspath(__file__))


def model() -> zarn.Model:
    m = zarn.Model(ts=0.1, tf=12.0, ti=0.0, name=os.path.join(FOLDER, 'thermostat.json'))
    schedule = m.squarewave(timeOff='2.0', timeOn='4.0', valueOff='0.0', valueOn='1.0', name='schedule')
    clock = m.time(name='clock')
    boost_until = m.constant(expression='t_boost', name='boost_until')
    boost = m.relational(clock, boost_until, operator='lt', name='boost')
    demand = m.constant(expression='demand', name='demand')
    with m.subsystem('heating') as heating:
        heating_boost = heating.input('boost', boost)
        heating_demand = heating.input('demand', demand)
        heating.enable(schedule, name='enable')
        base = m.poly1st(heating_demand, coeffA='1.0', coeffB='0.0', name='base')
        with m.subsystem('booster') as booster:
            heat = booster.input('heat', base)
            booster.enable(heating_boost, name='enable')
            extra = m.poly1st(heat, coeffA='boost_factor', coeffB='0.0', name='extra')
            booster.output('extra', extra)
        heating.output('base', base)
        heating.output('boost', booster['extra'])
    base_heat = m.to_workspace(heating['base'], name='base_heat')
    boost_heat = m.to_workspace(heating['boost'], name='boost_heat')
    schedule_on = m.to_workspace(schedule, name='schedule_on')
    return m


if __name__ == "__main__":
    print(model().run(workspace=os.path.join(FOLDER, "workspace.py")))
