
#include "model.h"
#include "coder.h"

void init(model_t* p_model) {
    p_model->time_now_sec = 0.0;
    p_model->time_step_sec = 0.0;

    /*
     * path: mainsys.Blk
     * class: random
     * id: 42, parent: 0, tier: 0, zone: 0
     */
    p_model->Blk_42.value_max = 9;
    p_model->Blk_42.value_min = 2;
    p_model->Blk_42.seed = 12345;

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
     * class: random
     * id: 42, parent: 0, tier: 0, zone: 0
     */
    p_model->Blk_42.seed ^= p_model->Blk_42.seed << 13;
    p_model->Blk_42.seed ^= p_model->Blk_42.seed >> 17;
    p_model->Blk_42.seed ^= p_model->Blk_42.seed << 5;
    p_model->Blk_42.port0 =
        p_model->Blk_42.seed % ((unsigned long int)(p_model->Blk_42.value_max - p_model->Blk_42.value_min)) +
        p_model->Blk_42.value_min;

    /*
     * path: mainsys.Log
     * class: to_workspace
     * id: 44, parent: 0, tier: 0, zone: 1
     */
    // no code generated
}
