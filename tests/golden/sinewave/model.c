
#include "model.h"
#include "coder.h"

void init(model_t* p_model) {
    p_model->time_now_sec = 0.0;
    p_model->time_step_sec = 0.0;

    /*
     * path: mainsys.Blk
     * class: sinewave
     * id: 42, parent: 0, tier: 0, zone: 0
     */
    p_model->Blk_42.freq_rad_s = 3.14159;  // 0.5 hz
    p_model->Blk_42.phase_rad = 1.5708;    // 90 deg

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
     * class: sinewave
     * id: 42, parent: 0, tier: 0, zone: 0
     */
    p_model->Blk_42.port0 = sin(p_model->time_now_sec * p_model->Blk_42.freq_rad_s + p_model->Blk_42.phase_rad);

    /*
     * path: mainsys.Log
     * class: to_workspace
     * id: 44, parent: 0, tier: 0, zone: 1
     */
    // no code generated
}
