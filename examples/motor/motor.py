"""DC motor with a discrete PID loop, as a program. The diagram of motor.json: run it as `python3 motor.py`."""

from __future__ import annotations

import os

import zarn

FOLDER = os.path.dirname(os.path.abspath(__file__))


def model() -> zarn.Model:
    m = zarn.Model(ts=0.001, tf=2.0, ti=0.0, name=os.path.join(FOLDER, 'motor.json'))
    ref = m.step(initialValue='0.0', finalValue='w_ref', stepTime='t_step', name='ref')
    with m.subsystem('controller') as controller:
        controller_ref = controller.input('ref', ref)
        speed = controller.input('speed')
        error = m.subtract(controller_ref, speed, name='error')
        kp = m.constant(expression='kp', name='kp')
        P = m.multiply(error, kp, name='P')
        ki = m.constant(expression='ki * mainsys.ts', name='ki')
        I = m.multiply(error, ki, name='I')
        integral_z = m.memory(None, name='integral_z')
        integral = m.add(I, integral_z, name='integral')
        error_z = m.memory(error, name='error_z')
        delta_error = m.subtract(error, error_z, name='delta_error')
        kd = m.constant(expression='kd / mainsys.ts', name='kd')
        D = m.multiply(delta_error, kd, name='D')
        sum = m.add(P, integral, D, name='sum')
        u_min = m.constant(expression='-u_max', name='u_min')
        u_max = m.constant(expression='u_max', name='u_max')
        limit = m.clamp(sum, u_min, u_max, name='limit')
        integral_type = m.cast(integral, type='flt64', name='integral_type')
        controller.output('u', limit)
    with m.subsystem('motor') as motor:
        u = motor.input('u', controller['u'])
        R = m.constant(expression='R', name='R')
        K = m.constant(expression='K', name='K')
        i = m.memory(None, name='i')
        w = m.memory(None, name='w')
        R_i = m.multiply(i, R, name='R_i')
        K_w = m.multiply(w, K, name='K_w')
        drop = m.subtract(u, R_i, name='drop')
        v_L = m.subtract(drop, K_w, name='v_L')
        ts_L = m.constant(expression='mainsys.ts / L', name='ts_L')
        di = m.multiply(v_L, ts_L, name='di')
        i_next = m.add(i, di, name='i_next')
        torque = m.multiply(i, K, name='torque')
        b = m.constant(expression='b', name='b')
        friction = m.multiply(w, b, name='friction')
        net = m.subtract(torque, friction, name='net')
        ts_J = m.constant(expression='mainsys.ts / J', name='ts_J')
        dw = m.multiply(net, ts_J, name='dw')
        w_next = m.add(w, dw, name='w_next')
        i_type = m.cast(i_next, type='flt64', name='i_type')
        w_type = m.cast(w_next, type='flt64', name='w_type')
        motor.output('speed', w)
        motor.output('current', i)
    speed_2 = m.to_workspace(motor['speed'], name='speed')
    current = m.to_workspace(motor['current'], name='current')
    voltage = m.to_workspace(controller['u'], name='voltage')
    m.wire(motor['speed'], controller.block, 1)
    m.wire(integral_type, integral_z.block, 0)
    m.wire(i_type, i.block, 0)
    m.wire(w_type, w.block, 0)
    return m


if __name__ == "__main__":
    print(model().run(workspace=os.path.join(FOLDER, "workspace.py")))
