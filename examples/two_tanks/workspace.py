# Two tanks, each with a leak and with a level controller of its own from one file.

level_1, level_2 = 1.0, 0.4     # set-points [m]
area_1, area_2 = 2.0, 0.8       # ground areas [m^2]
leak_1, leak_2 = 0.10, 0.05     # outflow per metre of level [m^2/s]
kp = 0.8                        # controller gains of both [m^2/s], [m^2]
ki_ts = 0.05 * 0.05
