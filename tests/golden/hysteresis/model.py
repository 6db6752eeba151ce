
import math
import sys
import coder

class time_t():
    def __init__(self):
        self.port0 = 0

class hysteresis_t:
    def __init__(self):
        self.port0 = 0
        self.on = 0
        self.off = 0
        self.state = False



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
        # class: hysteresis
        # id: 42, parent: 0, tier: 0, zone: 1
        self.Blk_42 = hysteresis_t()
        self.Blk_42.on = 1.25
        self.Blk_42.off = 0.25
        self.Blk_42.state = False

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
        # class: hysteresis
        # id: 42, parent: 0, tier: 0, zone: 1
        if self.In0_11.port0 > self.Blk_42.on:
            self.Blk_42.state = True
        elif self.In0_11.port0 < self.Blk_42.off:
            self.Blk_42.state = False
        self.Blk_42.port0 = self.Blk_42.state

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 2
        # no code generated

