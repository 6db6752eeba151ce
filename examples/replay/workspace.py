# A recorded valve position in percent, sampled unevenly.

import zarn

recording = zarn.TimeSeries('recording')
recording.xdata = [0.0, 1.0, 1.5, 2.5, 4.0, 5.0, 6.0, 6.5, 8.0, 9.0]
recording.ydata = [0.0, 10.0, 35.0, 62.0, 90.0, 97.0, 88.0, 72.0, 40.0, 5.0]
