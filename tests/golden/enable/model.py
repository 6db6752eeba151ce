
import math
import sys
import coder

class time_t():
    def __init__(self):
        self.port0 = 0

class constant_t():
    def __init__(self):
        self.port0 = 0

class relational_t():
    def __init__(self):
        self.port0 = 0

class sin_t():
    def __init__(self):
        self.port0 = 0



class model_t:
    def __init__(self):
        self.time_now_sec = 0
        self.time_step_sec = 0

        # path: mainsys.Clock
        # class: time
        # id: 20, parent: 0, tier: 0, zone: 0
        self.Clock_20 = time_t()
        # no initialization is required

        # path: mainsys.Limit
        # class: constant
        # id: 21, parent: 0, tier: 0, zone: 0
        self.Limit_21 = constant_t()
        self.Limit_21.port0 = 0.6

        # path: mainsys.Late
        # class: relational
        # id: 22, parent: 0, tier: 0, zone: 1
        self.Late_22 = relational_t()
        # no initialization is required

        # path: mainsys.Sub.Gate
        # class: enable
        # id: 23, parent: 0, tier: 0, zone: 2
        # no initialization is required

        # path: mainsys.Sub.Blk
        # class: sin
        # id: 42, parent: 70, tier: 1, zone: 1001
        self.Blk_42 = sin_t()
        # no initialization is required

        # path: mainsys.Sub.Log
        # class: to_workspace
        # id: 44, parent: 70, tier: 1, zone: 1002
        # no initialization is required


    def step(self):
        # path: mainsys.Clock
        # class: time
        # id: 20, parent: 0, tier: 0, zone: 0
        self.Clock_20.port0 = self.time_now_sec

        # path: mainsys.Limit
        # class: constant
        # id: 21, parent: 0, tier: 0, zone: 0
        # no code generated

        # path: mainsys.Late
        # class: relational
        # id: 22, parent: 0, tier: 0, zone: 1
        self.Late_22.port0 = self.Clock_20.port0 > self.Limit_21.port0

        # path: mainsys.Sub.Gate
        # class: enable
        # id: 23, parent: 0, tier: 0, zone: 2
        # no code generated

    if self.Late_22.port0:
            # path: mainsys.Sub.Blk
            # class: sin
            # id: 42, parent: 70, tier: 1, zone: 1001
            self.Blk_42.port0 = math.sin(self.Clock_20.port0)

            # path: mainsys.Sub.Log
            # class: to_workspace
            # id: 44, parent: 70, tier: 1, zone: 1002
            # no code generated

