
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

class acc_t():
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

        # path: mainsys.Sub.In2
        # class: constant
        # id: 13, parent: 70, tier: 1, zone: 0
        self.In2_13 = constant_t()
        self.In2_13.port0 = False

        # path: mainsys.Sub.In0
        # class: time
        # id: 11, parent: 70, tier: 1, zone: 0
        self.In0_11 = time_t()
        # no initialization is required

        # path: mainsys.Sub.In1
        # class: constant
        # id: 12, parent: 70, tier: 1, zone: 0
        self.In1_12 = constant_t()
        self.In1_12.port0 = 0.0

        # path: mainsys.Sub.Blk
        # class: acc
        # id: 42, parent: 70, tier: 1, zone: 1
        self.Blk_42 = acc_t()
            self.Blk_42.port0 = 0

        # path: mainsys.Sub.Log
        # class: to_workspace
        # id: 44, parent: 70, tier: 1, zone: 2
        # no initialization is required

        # path: mainsys.Sub.Gate
        # class: enable
        # id: 23, parent: 0, tier: 0, zone: 2
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

    if self.Late_22.port0:
            # path: mainsys.Sub.In2
            # class: constant
            # id: 13, parent: 70, tier: 1, zone: 0
            # no code generated

            # path: mainsys.Sub.In0
            # class: time
            # id: 11, parent: 70, tier: 1, zone: 0
            self.In0_11.port0 = self.time_now_sec

            # path: mainsys.Sub.In1
            # class: constant
            # id: 12, parent: 70, tier: 1, zone: 0
            # no code generated

            # path: mainsys.Sub.Blk
            # class: acc
            # id: 42, parent: 70, tier: 1, zone: 1
            self.Blk_42.port0 = self.In1_12.port0 if self.In2_13.port0 else self.In0_11.port0 + self.Blk_42.port0

            # path: mainsys.Sub.Log
            # class: to_workspace
            # id: 44, parent: 70, tier: 1, zone: 2
            # no code generated

        # path: mainsys.Sub.Gate
        # class: enable
        # id: 23, parent: 0, tier: 0, zone: 2
        # no code generated

