
#include "model.h"
#include "coder.h"

void init(model_t* p_model) {
    p_model->time_now_sec = 0.0;
    p_model->time_step_sec = 0.0;

    /*
     * path: mainsys.Blk
     * class: squarewave
     * id: 42, parent: 0, tier: 0, zone: 0
     */
    p_model->Blk_42.time_on = 0.75;
    p_model->Blk_42.time_off = 0.5;
    p_model->Blk_42.value_on = 3;
    p_model->Blk_42.value_off = -2;

    /*
     * path: mainsys.Log
     * class: to_workspace
     * id: 44, parent: 0, tier: 0, zone: 1
     */
    // no initialization is required
}

void step(model_t* p_model) {
    /*
     * path: mainsys.Blk
     * class: squarewave
     * id: 42, parent: 0, tier: 0, zone: 0
     */
    if (p_model->Blk_42.state_value) {
        if (p_model->time_now_sec >= p_model->Blk_42.state_change + p_model->Blk_42.time_on) {
            p_model->Blk_42.state_value = 0;
            p_model->Blk_42.state_change = p_model->time_now_sec;
            p_model->Blk_42.port0 = p_model->Blk_42.value_off;
        }
    } else {
        if (p_model->time_now_sec >= p_model->Blk_42.state_change + p_model->Blk_42.time_off) {
            p_model->Blk_42.state_value = 1;
            p_model->Blk_42.state_change = p_model->time_now_sec;
            p_model->Blk_42.port0 = p_model->Blk_42.value_on;
        }
    }

    /*
     * path: mainsys.Log
     * class: to_workspace
     * id: 44, parent: 0, tier: 0, zone: 1
     */
    // no code generated
}
