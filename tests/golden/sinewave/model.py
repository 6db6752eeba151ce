
import math
import sys
import coder

class sinewave_t:
    def __init__(self):
        self.port0 = 0
        self.freq_rad_s = 0
        self.phase_rad = 0



class model_t:
    def __init__(self):
        self.time_now_sec = 0
        self.time_step_sec = 0

        # path: mainsys.Blk
        # class: sinewave
        # id: 42, parent: 0, tier: 0, zone: 0
        self.Blk_42 = sinewave_t()
        self.Blk_42.freq_rad_s = 3.14159 # 0.5 hz
        self.Blk_42.phase_rad = 1.5708 # 90 deg

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 1
        # no initialization is required


    def step(self):
        # path: mainsys.Blk
        # class: sinewave
        # id: 42, parent: 0, tier: 0, zone: 0
        self.Blk_42.port0 = math.sin(self.time_now_sec * self.Blk_42.freq_rad_s + self.Blk_42.phase_rad)

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 1
        # no code generated

