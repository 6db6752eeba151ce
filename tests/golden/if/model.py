
import math
import sys
import coder

class constant_t():
    def __init__(self):
        self.port0 = 0

class if_t():
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
        self.In0_11.port0 = True

        # path: mainsys.In1
        # class: constant
        # id: 12, parent: 0, tier: 0, zone: 0
        self.In1_12 = constant_t()
        self.In1_12.port0 = 1.5

        # path: mainsys.In2
        # class: constant
        # id: 13, parent: 0, tier: 0, zone: 0
        self.In2_13 = constant_t()
        self.In2_13.port0 = 2.5

        # path: mainsys.Blk
        # class: if
        # id: 42, parent: 0, tier: 0, zone: 1
        self.Blk_42 = if_t()
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

        # path: mainsys.In1
        # class: constant
        # id: 12, parent: 0, tier: 0, zone: 0
        # no code generated

        # path: mainsys.In2
        # class: constant
        # id: 13, parent: 0, tier: 0, zone: 0
        # no code generated

        # path: mainsys.Blk
        # class: if
        # id: 42, parent: 0, tier: 0, zone: 1
        self.Blk_42.port0 = self.In2_13.port0 if self.In0_11.port0 else self.In2_13.port0

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 2
        # no code generated

