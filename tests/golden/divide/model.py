
import math
import sys
import coder

class time_t():
    def __init__(self):
        self.port0 = 0

class constant_t():
    def __init__(self):
        self.port0 = 0

class divide_t():
    def __init__(self):
        self.port0 = 0



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
        self.In1_12.port0 = 0.3

        # path: mainsys.Blk
        # class: divide
        # id: 42, parent: 0, tier: 0, zone: 1
        self.Blk_42 = divide_t()
        # no initialization is required

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
        # class: divide
        # id: 42, parent: 0, tier: 0, zone: 1
        self.Blk_42.port0 = self.In0_11.port0 /self.In1_12.port0

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 2
        # no code generated

