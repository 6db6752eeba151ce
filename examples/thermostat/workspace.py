# A heating with a schedule, and a booster that helps in the first seconds while the heating is on.

demand = 2.5         # heat demand [kW]
boost_factor = 1.6
t_boost = 4.0        # until when the booster may run [s]
