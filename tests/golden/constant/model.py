
import math
import sys
import coder

class constant_t():
    def __init__(self):
        self.port0 = 0



class model_t:
    def __init__(self):
        self.time_now_sec = 0
        self.time_step_sec = 0

        # path: mainsys.Blk
        # class: constant
        # id: 42, parent: 0, tier: 0, zone: 0
        self.Blk_42 = constant_t()
        self.Blk_42.port0 = 2.5

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 1
        # no initialization is required


    def step(self):
        # path: mainsys.Blk
        # class: constant
        # id: 42, parent: 0, tier: 0, zone: 0
        # no code generated

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 1
        # no code generated

