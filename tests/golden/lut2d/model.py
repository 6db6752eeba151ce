
import math
import sys
import coder

class time_t():
    def __init__(self):
        self.port0 = 0

class constant_t():
    def __init__(self):
        self.port0 = 0

class lut2d_t:
    def __init__(self):
        self.port0 = 0
        self.bp1 = [0.5, 1.5]
        self.bp2 = [0.0, 1.0]
        self.out = [[1.0, 2.0],[3.0, 8.0]]



class model_t:
    def __init__(self):
        self.time_now_sec = 0
        self.time_step_sec = 0

        # path: mainsys.In0
        # class: time
        # id: 11, parent: 0, tier: 0, zone: 0
        self.In0_11 = time_t()
        # no initialization is required

        # path: mainsys.In1
        # class: constant
        # id: 12, parent: 0, tier: 0, zone: 0
        self.In1_12 = constant_t()
        self.In1_12.port0 = 0.5

        # path: mainsys.Blk
        # class: lut2d
        # id: 42, parent: 0, tier: 0, zone: 1
        self.Blk_42 = lut2d_t()
        self.Blk_42.bp1 = [0.5, 1.5]
        self.Blk_42.bp2 = [0.0, 1.0]
        self.Blk_42.out = [[1.0, 2.0],[3.0, 8.0]]

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 2
        # no initialization is required


    def step(self):
        # path: mainsys.In0
        # class: time
        # id: 11, parent: 0, tier: 0, zone: 0
        self.In0_11.port0 = self.time_now_sec

        # path: mainsys.In1
        # class: constant
        # id: 12, parent: 0, tier: 0, zone: 0
        # no code generated

        # path: mainsys.Blk
        # class: lut2d
        # id: 42, parent: 0, tier: 0, zone: 1
        self.Blk_42.port0 = coder.interpolate2d(self.In0_11.port0, self.In1_12.port0, self.Blk_42.bp1, self.Blk_42.bp2, self.Blk_42.out)

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 2
        # no code generated

