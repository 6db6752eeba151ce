
import math
import sys
import coder

class random_t:
    def __init__(self):
        self.port0 = 0
        self.value_max = 0
        self.value_min = 0
        self.seed = 0



class model_t:
    def __init__(self):
        self.time_now_sec = 0
        self.time_step_sec = 0

        # path: mainsys.Blk
        # class: random
        # id: 42, parent: 0, tier: 0, zone: 0
        self.Blk_42 = random_t()
        self.Blk_42.value_max = 9.0
        self.Blk_42.value_min = 2.0
        self.Blk_42.seed = 12345

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 1
        # no initialization is required


    def step(self):
        # path: mainsys.Blk
        # class: random
        # id: 42, parent: 0, tier: 0, zone: 0
        self.Blk_42.seed ^= self.Blk_42.seed << 13
        self.Blk_42.seed ^= self.Blk_42.seed >> 17
        self.Blk_42.seed ^= self.Blk_42.seed << 5
        self.Blk_42.port0 = self.Blk_42.seed % (self.Blk_42.value_max - self.Blk_42.value_min) + self.Blk_42.value_min

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 1
        # no code generated

