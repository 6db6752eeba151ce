
import math
import sys
import coder

class squarewave_t:
    def __init__(self):
        self.port0 = 0
        self.time_on = 0
        self.time_off = 0
        self.value_on = 0
        self.value_off = 0
        self.state_change = 0
        self.state_value = 0



class model_t:
    def __init__(self):
        self.time_now_sec = 0
        self.time_step_sec = 0

        # path: mainsys.Blk
        # class: squarewave
        # id: 42, parent: 0, tier: 0, zone: 0
        self.Blk_42 = squarewave_t()
        self.Blk_42.time_on = 0.75
        self.Blk_42.time_off = 0.5
        self.Blk_42.value_on = 3.0
        self.Blk_42.value_off = -2.0

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 1
        # no initialization is required


    def step(self):
        # path: mainsys.Blk
        # class: squarewave
        # id: 42, parent: 0, tier: 0, zone: 0
        if self.Blk_42.state_value:
            if self.time_now_sec >= self.Blk_42.state_change + self.Blk_42.time_on:
                self.Blk_42.state_value = 0
                self.Blk_42.state_change = self.time_now_sec
                self.Blk_42.port0 = self.Blk_42.value_off
        else:
            if self.time_now_sec >= self.Blk_42.state_change + self.Blk_42.time_off:
                self.Blk_42.state_value = 1
                self.Blk_42.state_change = self.time_now_sec
                self.Blk_42.port0 = self.Blk_42.value_on

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 1
        # no code generated

