# A slow signal with mains hum on it, sampled every 5 ms.

f_signal = 2.0   # [Hz]
f_hum = 50.0     # [Hz], four samples a period
a_hum = 0.5      # amplitude of the hum, the signal's being 1
alpha = 0.3      # weight of a new sample in the low-pass
