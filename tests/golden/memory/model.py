
import math
import sys
import coder

class memory_t():
    def __init__(self):
        self.port0 = 0

class time_t():
    def __init__(self):
        self.port0 = 0



class model_t:
    def __init__(self):
        self.time_now_sec = 0
        self.time_step_sec = 0

        # path: mainsys.Blk
        # class: memory
        # id: 42, parent: 0, tier: 0, zone: 0
        self.Blk_42 = memory_t()
        self.Blk_42.port0 = 0

        # path: mainsys.In0
        # class: time
        # id: 11, parent: 0, tier: 0, zone: 0
        self.In0_11 = time_t()
        # no initialization is required

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 1
        # no initialization is required


    def step(self):
        # path: mainsys.Blk
        # class: memory
        # id: 42, parent: 0, tier: 0, zone: 0
        self.Blk_42.port0 = self.In0_11.port0

        # path: mainsys.In0
        # class: time
        # id: 11, parent: 0, tier: 0, zone: 0
        self.In0_11.port0 = self.time_now_sec

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 1
        # no code generated

