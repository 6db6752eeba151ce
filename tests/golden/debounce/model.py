
import math
import sys
import coder

class constant_t():
    def __init__(self):
        self.port0 = 0

class debounce_t:
    def __init__(self):
        self.port0 = 0
        self.fall = 0.0
        self.rise = 0.0
        self.count = 0.0



class model_t:
    def __init__(self):
        self.time_now_sec = 0
        self.time_step_sec = 0

        # path: mainsys.In0
        # class: constant
        # id: 11, parent: 0, tier: 0, zone: 0
        self.In0_11 = constant_t()
        self.In0_11.port0 = True

        # path: mainsys.Blk
        # class: debounce
        # id: 42, parent: 0, tier: 0, zone: 1
        self.Blk_42 = debounce_t()
        self.Blk_42.fall = 0.5
        self.Blk_42.rise = 0.5
        self.Blk_42.count = 0.0

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
        # class: debounce
        # id: 42, parent: 0, tier: 0, zone: 1
        if self.In0_11.port0:
            if self.Blk_42.count < 0.0:
                self.Blk_42.count = 0.0
            if self.Blk_42.count >= self.Blk_42.rise:
                self.Blk_42.port0 = 1
            else:
                self.Blk_42.count += self.time_step_sec
        else:
            if self.Blk_42.count > 0.0:
                self.Blk_42.count = 0.0
            if self.Blk_42.count <= self.Blk_42.fall:
                self.Blk_42.port0 = 0
            else:
                self.Blk_42.count -= self.time_step_sec

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 2
        # no code generated

