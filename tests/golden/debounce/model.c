
#include "model.h"
#include "coder.h"

void init(model_t* p_model) {
    p_model->time_now_sec = 0.0;
    p_model->time_step_sec = 0.0;

    /*
     * path: mainsys.In0
     * class: constant
     * id: 11, parent: 0, tier: 0, zone: 0
     */
    p_model->In0_11.port0 = 1;

    /*
     * path: mainsys.Blk
     * class: debounce
     * id: 42, parent: 0, tier: 0, zone: 1
     */
    p_model->Blk_42.fall = 0.5;
    p_model->Blk_42.rise = 0.5;
    p_model->Blk_42.count = 0.0;

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
     * class: constant
     * id: 11, parent: 0, tier: 0, zone: 0
     */
    // no code generated

    /*
     * path: mainsys.Blk
     * class: debounce
     * id: 42, parent: 0, tier: 0, zone: 1
     */
    if (p_model->In0_11.port0) {
        if (p_model->Blk_42.count < 0.0) {
            p_model->Blk_42.count = 0.0;
        }
        if (p_model->Blk_42.count >= p_model->Blk_42.rise) {
            p_model->Blk_42.port0 = 1;
        } else {
            p_model->Blk_42.count += p_model->time_step_sec;
        }
    } else {
        if (p_model->Blk_42.count > 0.0) {
            p_model->Blk_42.count = 0.0;
        }
        if (p_model->Blk_42.count <= p_model->Blk_42.fall) {
            p_model->Blk_42.port0 = 0;
        } else {
            p_model->Blk_42.count -= p_model->time_step_sec;
        }
    }

    /*
     * path: mainsys.Log
     * class: to_workspace
     * id: 44, parent: 0, tier: 0, zone: 2
     */
    // no code generated
}
