
import math
import sys
import coder

class time_t():
    def __init__(self):
        self.port0 = 0

class inport_t:
    def __init__(self):
        self.port0 = 0
        self.index = 0

class sin_t():
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

        # path: mainsys.Clock
        # class: time
        # id: 20, parent: 0, tier: 0, zone: 0
        self.Clock_20 = time_t()
        # no initialization is required

        # path: mainsys.Sub.u
        # class: inport
        # id: 24, parent: 70, tier: 1, zone: 1001
        self.u_24 = inport_t()
        try:
            self.u_24.index = header_input.index("u")
        except:
            self.u_24.index = 0

        # path: mainsys.Sub.Blk
        # class: sin
        # id: 42, parent: 70, tier: 1, zone: 1002
        self.Blk_42 = sin_t()
        # no initialization is required

        # path: mainsys.Sub.y
        # class: outport
        # id: 25, parent: 70, tier: 1, zone: 1003
        self.y_25 = outport_t()
        self.y_25.name = "y"
        self.y_25.index = len(header_output)
        header_output.append("y")
        buffer_output.append(0)

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 2004
        # no initialization is required


    def step(self):
        # path: mainsys.Clock
        # class: time
        # id: 20, parent: 0, tier: 0, zone: 0
        self.Clock_20.port0 = self.time_now_sec

    if True:
            # path: mainsys.Sub.u
            # class: inport
            # id: 24, parent: 70, tier: 1, zone: 1001
            self.u_24.port0 = float(buffer_input[self.u_24.index])

            # path: mainsys.Sub.Blk
            # class: sin
            # id: 42, parent: 70, tier: 1, zone: 1002
            self.Blk_42.port0 = math.sin(self.u_24.port0)

            # path: mainsys.Sub.y
            # class: outport
            # id: 25, parent: 70, tier: 1, zone: 1003
            self.y_25.port0 = self.Blk_42.port0
            buffer_output[self.y_25.index] = str(self.Blk_42.port0)

        # path: mainsys.Log
        # class: to_workspace
        # id: 44, parent: 0, tier: 0, zone: 2004
        # no code generated

