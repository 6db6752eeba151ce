
#include "model.h"
#include "coder.h"

void init(model_t* p_model) {
    p_model->time_now_sec = 0.0;
    p_model->time_step_sec = 0.0;

    /*
     * path: mainsys.In0
     * class: time
     * id: 11, parent: 0, tier: 0, zone: 0
     */
    // no initialization is required

    /*
     * path: mainsys.In1
     * class: constant
     * id: 12, parent: 0, tier: 0, zone: 0
     */
    p_model->In1_12.port0 = 0.5;

    /*
     * path: mainsys.Blk
     * class: lut2d
     * id: 42, parent: 0, tier: 0, zone: 1
     */
    p_model->Blk_42.bp1[0] = 0.5;
    p_model->Blk_42.bp1[1] = 1.5;
    p_model->Blk_42.bp2[0] = 0;
    p_model->Blk_42.bp2[1] = 1;
    p_model->Blk_42.out[0] = 1;
    p_model->Blk_42.out[1] = 2;
    p_model->Blk_42.out[2] = 3;
    p_model->Blk_42.out[3] = 8;

    /*
     * path: mainsys.Log
     * class: to_workspace
     * id: 44, parent: 0, tier: 0, zone: 2
     */
    // no initialization is required
}

void step(model_t* p_model) {
    /*
     * path: mainsys.In0
     * class: time
     * id: 11, parent: 0, tier: 0, zone: 0
     */
    p_model->In0_11.port0 = p_model->time_now_sec;

    /*
     * path: mainsys.In1
     * class: constant
     * id: 12, parent: 0, tier: 0, zone: 0
     */
    // no code generated

    /*
     * path: mainsys.Blk
     * class: lut2d
     * id: 42, parent: 0, tier: 0, zone: 1
     */
    p_model->Blk_42.port0 = (double)interpolate2d(p_model->In0_11.port0, p_model->In1_12.port0, p_model->Blk_42.bp1,
                                                  p_model->Blk_42.bp2, p_model->Blk_42.out, 2, 2);

    /*
     * path: mainsys.Log
     * class: to_workspace
     * id: 44, parent: 0, tier: 0, zone: 2
     */
    // no code generated
}
