
import math
import sys
import coder

class time_t():
    def __init__(self):
        self.port0 = 0

class outport_t:
    def __init__(self):
        self.port0 = 0
        self.index = 0
        self.name = 0



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
        # class: outport
        # id: 42, parent: 0, tier: 0, zone: 1
        self.Blk_42 = outport_t()
        self.Blk_42.name = "Blk"
        self.Blk_42.index = len(header_output)
        header_output.append("Blk")
        buffer_output.append(0)

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
        # class: outport
        # id: 42, parent: 0, tier: 0, zone: 1
        self.Blk_42.port0 = self.In0_11.port0
        buffer_output[self.Blk_42.index] = str(self.In0_11.port0)

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 2
        # no code generated

