
import math
import sys
import coder

class inport_t:
    def __init__(self):
        self.port0 = 0
        self.index = 0



class model_t:
    def __init__(self):
        self.time_now_sec = 0
        self.time_step_sec = 0

        # path: mainsys.Blk
        # class: inport
        # id: 42, parent: 0, tier: 0, zone: 0
        self.Blk_42 = inport_t()
        try:
            self.Blk_42.index = header_input.index("Blk")
        except:
            self.Blk_42.index = 0

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 1
        # no initialization is required


    def step(self):
        # path: mainsys.Blk
        # class: inport
        # id: 42, parent: 0, tier: 0, zone: 0
        self.Blk_42.port0 = float(buffer_input[self.Blk_42.index])

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 1
        # no code generated

