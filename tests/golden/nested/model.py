
import math
import sys
import coder

class constant_t():
    def __init__(self):
        self.port0 = 0

class time_t():
    def __init__(self):
        self.port0 = 0

class acc_t():
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

        # path: mainsys.Sub.Inner.In2
        # class: constant
        # id: 13, parent: 71, tier: 2, zone: 0
        self.In2_13 = constant_t()
        self.In2_13.port0 = False

        # path: mainsys.Sub.Inner.In1
        # class: constant
        # id: 12, parent: 71, tier: 2, zone: 0
        self.In1_12 = constant_t()
        self.In1_12.port0 = 0.0

        # path: mainsys.Sub.Inner.In0
        # class: time
        # id: 11, parent: 71, tier: 2, zone: 0
        self.In0_11 = time_t()
        # no initialization is required

        # path: mainsys.Sub.Inner.Blk
        # class: acc
        # id: 42, parent: 71, tier: 2, zone: 1
        self.Blk_42 = acc_t()
                self.Blk_42.port0 = 0

        # path: mainsys.Sub.Inner.Log
        # class: to_workspace
        # id: 44, parent: 71, tier: 2, zone: 2
        # no initialization is required

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

        # path: mainsys.Sub.Pace
        # class: time
        # id: 26, parent: 70, tier: 1, zone: 0
        self.Pace_26 = time_t()
        # no initialization is required

        # path: mainsys.Sub.Wave
        # class: sin
        # id: 27, parent: 70, tier: 1, zone: 1
        self.Wave_27 = sin_t()
        # no initialization is required

        # path: mainsys.Sub.Gate
        # class: enable
        # id: 23, parent: 0, tier: 0, zone: 2
        # no initialization is required


    def step(self):
        if True:
                # path: mainsys.Sub.Inner.In2
                # class: constant
                # id: 13, parent: 71, tier: 2, zone: 0
                # no code generated

                # path: mainsys.Sub.Inner.In1
                # class: constant
                # id: 12, parent: 71, tier: 2, zone: 0
                # no code generated

                # path: mainsys.Sub.Inner.In0
                # class: time
                # id: 11, parent: 71, tier: 2, zone: 0
                self.In0_11.port0 = self.time_now_sec

                # path: mainsys.Sub.Inner.Blk
                # class: acc
                # id: 42, parent: 71, tier: 2, zone: 1
                self.Blk_42.port0 = self.In1_12.port0 if self.In2_13.port0 else self.In0_11.port0 + self.Blk_42.port0

                # path: mainsys.Sub.Inner.Log
                # class: to_workspace
                # id: 44, parent: 71, tier: 2, zone: 2
                # no code generated

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
            # path: mainsys.Sub.Pace
            # class: time
            # id: 26, parent: 70, tier: 1, zone: 0
            self.Pace_26.port0 = self.time_now_sec

            # path: mainsys.Sub.Wave
            # class: sin
            # id: 27, parent: 70, tier: 1, zone: 1
            self.Wave_27.port0 = math.sin(self.Pace_26.port0)

        # path: mainsys.Sub.Gate
        # class: enable
        # id: 23, parent: 0, tier: 0, zone: 2
        # no code generated

