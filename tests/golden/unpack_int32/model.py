
import math
import sys
import coder

class constant_t():
    def __init__(self):
        self.port0 = 0

class unpack_t:
    def __init__(self):
        self.port0 = 0
        self.start = 0
        self.end = 0
        self.binary = 0



class model_t:
    def __init__(self):
        self.time_now_sec = 0
        self.time_step_sec = 0

        # path: mainsys.In0
        # class: constant
        # id: 11, parent: 0, tier: 0, zone: 0
        self.In0_11 = constant_t()
        self.In0_11.port0 = 240

        # path: mainsys.Blk
        # class: unpack
        # id: 42, parent: 0, tier: 0, zone: 1
        self.Blk_42 = unpack_t()
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
        # class: unpack
        # id: 42, parent: 0, tier: 0, zone: 1
        self.Blk_42.binary = bin(self.In0_11.port0)[2:]
        self.Blk_42.end = len(self.Blk_42.binary) - 4
        self.Blk_42.start = len(self.Blk_42.binary) - 8
        self.Blk_42.port0 = int(self.Blk_42.binary[self.Blk_42.start : self.Blk_42.end], 2) * 2 + 0.5

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 2
        # no code generated

