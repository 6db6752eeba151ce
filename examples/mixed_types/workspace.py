# A 12 bit converter on a sensor of +-1, and a counter of the samples above a threshold.

counts = 2047.0    # converter counts at full scale
v_full = 10.0      # volts at full scale
threshold = 1024   # counts
