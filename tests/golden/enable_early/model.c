
#include "model.h"
#include "coder.h"

void init(model_t* p_model) {
    p_model->time_now_sec = 0.0;
    p_model->time_step_sec = 0.0;

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
     * path: mainsys.Sub.In2
     * class: constant
     * id: 13, parent: 70, tier: 1, zone: 0
     */
    p_model->In2_13.port0 = 0;

    /*
     * path: mainsys.Sub.In0
     * class: time
     * id: 11, parent: 70, tier: 1, zone: 0
     */
    // no initialization is required

    /*
     * path: mainsys.Sub.In1
     * class: constant
     * id: 12, parent: 70, tier: 1, zone: 0
     */
    p_model->In1_12.port0 = 0.0;

    /*
     * path: mainsys.Sub.Blk
     * class: acc
     * id: 42, parent: 70, tier: 1, zone: 1
     */
    p_model->Blk_42.port0 = 0;

    /*
     * path: mainsys.Sub.Log
     * class: to_workspace
     * id: 44, parent: 70, tier: 1, zone: 2
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
         * path: mainsys.Sub.In2
         * class: constant
         * id: 13, parent: 70, tier: 1, zone: 0
         */
        // no code generated

        /*
         * path: mainsys.Sub.In0
         * class: time
         * id: 11, parent: 70, tier: 1, zone: 0
         */
        p_model->In0_11.port0 = p_model->time_now_sec;

        /*
         * path: mainsys.Sub.In1
         * class: constant
         * id: 12, parent: 70, tier: 1, zone: 0
         */
        // no code generated

        /*
         * path: mainsys.Sub.Blk
         * class: acc
         * id: 42, parent: 70, tier: 1, zone: 1
         */
        p_model->Blk_42.port0 =
            p_model->In2_13.port0 ? p_model->In1_12.port0 : p_model->In0_11.port0 + p_model->Blk_42.port0;

        /*
         * path: mainsys.Sub.Log
         * class: to_workspace
         * id: 44, parent: 70, tier: 1, zone: 2
         */
        // no code generated
    }
    /*
     * path: mainsys.Sub.Gate
     * class: enable
     * id: 23, parent: 0, tier: 0, zone: 2
     */
    // no code generated
}
