
#include "model.h"
#include "coder.h"

void init(model_t* p_model) {
    p_model->time_now_sec = 0.0;
    p_model->time_step_sec = 0.0;

    /*
     * path: mainsys.Blk
     * class: from_workspace
     * id: 42, parent: 0, tier: 0, zone: 0
     */
    // no initialization is required

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
     * class: from_workspace
     * id: 42, parent: 0, tier: 0, zone: 0
     */
    // no code generated

    /*
     * path: mainsys.Log
     * class: to_workspace
     * id: 44, parent: 0, tier: 0, zone: 1
     */
    // no code generated
}
