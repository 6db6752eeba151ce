
#include "model.h"
#include "coder.h"

void init(model_t* p_model) {
    p_model->time_now_sec = 0.0;
    p_model->time_step_sec = 0.0;

    /*
     * path: mainsys.Sub.Inner.In2
     * class: constant
     * id: 13, parent: 71, tier: 2, zone: 0
     */
    p_model->In2_13.port0 = 0;

    /*
     * path: mainsys.Sub.Inner.In1
     * class: constant
     * id: 12, parent: 71, tier: 2, zone: 0
     */
    p_model->In1_12.port0 = 0.0;

    /*
     * path: mainsys.Sub.Inner.In0
     * class: time
     * id: 11, parent: 71, tier: 2, zone: 0
     */
    // no initialization is required

    /*
     * path: mainsys.Sub.Inner.Blk
     * class: acc
     * id: 42, parent: 71, tier: 2, zone: 1
     */
    p_model->Blk_42.port0 = 0;

    /*
     * path: mainsys.Sub.Inner.Log
     * class: to_workspace
     * id: 44, parent: 71, tier: 2, zone: 2
     */
    // no initialization is required

    /*
     * path: mainsys.Clock
     * class: time
     * id: 20, parent: 0, tier: 0, zone: 0
     */
    // no initialization is required

    /*
     * path: mainsys.Limit
     * class: constant
     * id: 21, parent: 0, tier: 0, zone: 0
     */
    p_model->Limit_21.port0 = 0.6;

    /*
     * path: mainsys.Late
     * class: relational
     * id: 22, parent: 0, tier: 0, zone: 1
     */
    // no initialization is required

    /*
     * path: mainsys.Sub.Pace
     * class: time
     * id: 26, parent: 70, tier: 1, zone: 0
     */
    // no initialization is required

    /*
     * path: mainsys.Sub.Wave
     * class: sin
     * id: 27, parent: 70, tier: 1, zone: 1
     */
    // no initialization is required

    /*
     * path: mainsys.Sub.Gate
     * class: enable
     * id: 23, parent: 0, tier: 0, zone: 2
     */
    // no initialization is required
}

void step(model_t* p_model) {
    {
        /*
         * path: mainsys.Sub.Inner.In2
         * class: constant
         * id: 13, parent: 71, tier: 2, zone: 0
         */
        // no code generated

        /*
         * path: mainsys.Sub.Inner.In1
         * class: constant
         * id: 12, parent: 71, tier: 2, zone: 0
         */
        // no code generated

        /*
         * path: mainsys.Sub.Inner.In0
         * class: time
         * id: 11, parent: 71, tier: 2, zone: 0
         */
        p_model->In0_11.port0 = p_model->time_now_sec;

        /*
         * path: mainsys.Sub.Inner.Blk
         * class: acc
         * id: 42, parent: 71, tier: 2, zone: 1
         */
        p_model->Blk_42.port0 =
            p_model->In2_13.port0 ? p_model->In1_12.port0 : p_model->In0_11.port0 + p_model->Blk_42.port0;

        /*
         * path: mainsys.Sub.Inner.Log
         * class: to_workspace
         * id: 44, parent: 71, tier: 2, zone: 2
         */
        // no code generated
    }
    /*
     * path: mainsys.Clock
     * class: time
     * id: 20, parent: 0, tier: 0, zone: 0
     */
    p_model->Clock_20.port0 = p_model->time_now_sec;

    /*
     * path: mainsys.Limit
     * class: constant
     * id: 21, parent: 0, tier: 0, zone: 0
     */
    // no code generated

    /*
     * path: mainsys.Late
     * class: relational
     * id: 22, parent: 0, tier: 0, zone: 1
     */
    p_model->Late_22.port0 = p_model->Clock_20.port0 > p_model->Limit_21.port0;

    if (p_model->Late_22.port0) {
        /*
         * path: mainsys.Sub.Pace
         * class: time
         * id: 26, parent: 70, tier: 1, zone: 0
         */
        p_model->Pace_26.port0 = p_model->time_now_sec;

        /*
         * path: mainsys.Sub.Wave
         * class: sin
         * id: 27, parent: 70, tier: 1, zone: 1
         */
        p_model->Wave_27.port0 = sin(p_model->Pace_26.port0);
    }
    /*
     * path: mainsys.Sub.Gate
     * class: enable
     * id: 23, parent: 0, tier: 0, zone: 2
     */
    // no code generated
}
