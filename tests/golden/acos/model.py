
import math
import sys
import coder

class constant_t():
    def __init__(self):
        self.port0 = 0

class acos_t():
    def __init__(self):
        self.port0 = 0



class model_t:
    def __init__(self):
        self.time_now_sec = 0
        self.time_step_sec = 0

        # path: mainsys.In0
        # class: constant
        # id: 11, parent: 0, tier: 0, zone: 0
        self.In0_11 = constant_t()
        self.In0_11.port0 = 0.5

        # path: mainsys.Blk
        # class: acos
        # id: 42, parent: 0, tier: 0, zone: 1
        self.Blk_42 = acos_t()
        # no initialization is required

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 2
        # no initialization is required


    def step(self):
        # path: mainsys.In0
        # class: constant
        # id: 11, parent: 0, tier: 0, zone: 0
        # no code generated

        # path: mainsys.Blk
        # class: acos
        # id: 42, parent: 0, tier: 0, zone: 1
        self.Blk_42.port0 = math.acos(self.In0_11.port0)

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 2
        # no code generated

