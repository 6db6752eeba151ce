
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
    p_model->In0_11.port0 = 1.5;

    /*
     * path: mainsys.Blk
     * class: display
     * id: 42, parent: 0, tier: 0, zone: 1
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
     * class: display
     * id: 42, parent: 0, tier: 0, zone: 1
     */
    printf("Blk = %g\n", p_model->In0_11.port0);
}
