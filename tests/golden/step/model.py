
import math
import sys
import coder

class step_t:
    def __init__(self):
        self.port0 = 0
        self.step_time = 0
        self.value_init = 0
        self.value_final = 0



class model_t:
    def __init__(self):
        self.time_now_sec = 0
        self.time_step_sec = 0

        # path: mainsys.Blk
        # class: step
        # id: 42, parent: 0, tier: 0, zone: 0
        self.Blk_42 = step_t()
        self.Blk_42.value_init = -1.0;
        self.Blk_42.value_final = 4.0;
        self.Blk_42.step_time = 1.0;

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 1
        # no initialization is required


    def step(self):
        # path: mainsys.Blk
        # class: step
        # id: 42, parent: 0, tier: 0, zone: 0
        self.Blk_42.port0 = self.Blk_42.value_init if self.time_now_sec > self.Blk_42.step_time else self.Blk_42.value_final

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 1
        # no code generated

