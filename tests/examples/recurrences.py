"""The examples computed by hand: each model's recurrence written out in plain Python, without the engine.

Each function returns the columns of the example's expected.csv: "time", then one list for each recorded signal.
"""
import math


def times(ti, tf, ts):
    t = ti
    while tf >= t:
        yield t
        t = t + ts


def motor():
    R, L, K, J, b = 1.0, 0.05, 0.1, 0.002, 0.0005
    w_ref, t_step = 100.0, 0.1
    kp, ki, kd, u_max = 0.4, 2.0, 0.001, 24.0
    ts = 0.001
    columns = {"time": [], "mainsys.speed": [], "mainsys.current": [], "mainsys.voltage": []}
    i_next = w_next = integral = error = 0.0
    for t in times(0.0, 2.0, ts):
        i, w, integral_z, error_z = i_next, w_next, integral, error
        ref = w_ref if t > t_step else 0.0
        error = ref - w
        integral = error * (ki * ts) + integral_z
        u = error * kp + (integral + (error - error_z) * (kd / ts))
        u = u_max if u > u_max else -u_max if -u_max > u else u
        i_next = i + ((u - i * R) - w * K) * (ts / L)
        w_next = w + (i * K - w * b) * (ts / J)
        for name, value in zip(columns, (t, w, i, u)):
            columns[name].append(value)
    return columns


def filter():
    f_signal, f_hum, a_hum, alpha = 2.0, 50.0, 0.5, 0.3
    columns = {"time": [], "mainsys.raw": [], "mainsys.averaged": [], "mainsys.filtered": []}
    stages = [0.0, 0.0, 0.0]
    low_pass = 0.0
    for t in times(0.0, 1.0, 0.005):
        hum = math.sin(2 * math.pi * f_hum * t + 90.0 * math.pi / 180)
        raw = math.sin(2 * math.pi * f_signal * t) + hum * a_hum
        u = raw
        for k, last in enumerate(stages):
            stages[k] = u
            u = 0.5 * (u + last)
        low_pass = alpha * (u - low_pass) + low_pass
        for name, value in zip(columns, (t, raw, u, low_pass)):
            columns[name].append(value)
    return columns


def mixed_types():
    counts, v_full, threshold = 2047.0, 10.0, 1024
    columns = {"time": [], "mainsys.voltage": [], "mainsys.samples_above": [], "mainsys.nibble": []}
    above = 0
    for t in times(0.0, 2.0, 0.01):
        scaled = counts * math.sin(2 * math.pi * 1.0 * t)
        adc = math.trunc(scaled)
        above = (above + (1 if adc > threshold else 0)) % 256
        for name, value in zip(columns, (t, adc * (v_full / counts), float(above), float(adc & 15))):
            columns[name].append(value)
    return columns


def thermostat():
    demand, boost_factor, t_boost = 2.5, 1.6, 4.0
    columns = {"time": [], "mainsys.base_heat": [], "mainsys.boost_heat": [], "mainsys.schedule_on": []}
    on, since, schedule = False, 0.0, 0.0
    base = boost = 0.0
    for t in times(0.0, 12.0, 0.1):
        if on and t >= since + 4.0:
            on, since, schedule = False, t, 0.0
        elif not on and t >= since + 2.0:
            on, since, schedule = True, t, 1.0
        if schedule != 0.0:
            base = demand
            if t < t_boost:
                boost = boost_factor * base
        for name, value in zip(columns, (t, base, boost, schedule)):
            columns[name].append(value)
    return columns


def two_tanks():
    kp, ki_ts, ts = 0.8, 0.05 * 0.05, 0.05
    tanks = [(1.0, 2.0, 0.10), (0.4, 0.8, 0.05)]
    columns = {"time": [], "mainsys.tank_1": [], "mainsys.tank_2": []}
    h_next, integral = [0.0, 0.0], [0.0, 0.0]
    for t in times(0.0, 30.0, ts):
        columns["time"].append(t)
        for k, (level, area, leak) in enumerate(tanks):
            h = h_next[k]
            error = level - h
            integral[k] = ki_ts * error + integral[k]
            u = kp * error + integral[k]
            h_next[k] = (ts / area) * (u - leak * h) + h
            columns[f"mainsys.tank_{k + 1}"].append(h)
    return columns


def replay():
    xs = [0.0, 1.0, 1.5, 2.5, 4.0, 5.0, 6.0, 6.5, 8.0, 9.0]
    ys = [0.0, 10.0, 35.0, 62.0, 90.0, 97.0, 88.0, 72.0, 40.0, 5.0]
    bp, out = [0.0, 20.0, 60.0, 100.0], [0.0, 5.0, 40.0, 100.0]
    columns = {"time": [], "mainsys.linearised": [], "mainsys.highest": [], "mainsys.alarm_on": []}
    index, state = 0, False
    highest = 2.2250738585072014e-308  # where a running maximum of doubles starts
    for t in times(0.0, 10.0, 0.25):
        while index < len(xs) and t > xs[index]:
            index += 1
        u = ys[min(index, len(ys) - 1)]
        if u <= bp[0]:
            y = out[0]
        elif u >= bp[-1]:
            y = out[-1]
        else:
            i = next(n for n, x in enumerate(bp) if x > u)
            y = (u - bp[i - 1]) / (bp[i] - bp[i - 1]) * (out[i] - out[i - 1]) + out[i - 1]
        highest = y if y > highest else highest
        state = True if y > 80.0 else False if y < 60.0 else state
        for name, value in zip(columns, (t, y, highest, float(state))):
            columns[name].append(value)
    return columns


EXAMPLES = {f.__name__: f for f in (motor, filter, mixed_types, thermostat, two_tanks, replay)}


def write_csv(path, columns):
    with open(path, "w", encoding="utf-8") as file:
        file.write(",".join(columns) + "\n")
        for row in zip(*columns.values()):
            file.write(",".join(repr(value) for value in row) + "\n")


if __name__ == "__main__":
    import pathlib

    root = pathlib.Path(__file__).resolve().parents[2] / "examples"
    for name, compute in EXAMPLES.items():
        write_csv(root / name / "expected.csv", compute())
