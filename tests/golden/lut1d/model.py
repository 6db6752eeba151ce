
import math
import sys
import coder

class time_t():
    def __init__(self):
        self.port0 = 0

class lut1d_t:
    def __init__(self):
        self.port0 = 0
        self.bp = [0.5, 1.0, 1.5]
        self.out = [1.0, 4.0, 2.0]



class model_t:
    def __init__(self):
        self.time_now_sec = 0
        self.time_step_sec = 0

        # path: mainsys.In0
        # class: time
        # id: 11, parent: 0, tier: 0, zone: 0
        self.In0_11 = time_t()
        # no initialization is required

        # path: mainsys.Blk
        # class: lut1d
        # id: 42, parent: 0, tier: 0, zone: 1
        self.Blk_42 = lut1d_t()
        self.Blk_42.bp = [0.5, 1.0, 1.5]
        self.Blk_42.out = [1.0, 4.0, 2.0]

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 2
        # no initialization is required


    def step(self):
        # path: mainsys.In0
        # class: time
        # id: 11, parent: 0, tier: 0, zone: 0
        self.In0_11.port0 = self.time_now_sec

        # path: mainsys.Blk
        # class: lut1d
        # id: 42, parent: 0, tier: 0, zone: 1
        self.Blk_42.port0 = coder.interpolate1d(self.In0_11.port0, self.Blk_42.bp, self.Blk_42.out)

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 2
        # no code generated

