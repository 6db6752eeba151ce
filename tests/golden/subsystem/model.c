
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
     * path: mainsys.Sub.u
     * class: inport
     * id: 24, parent: 70, tier: 1, zone: 1001
     */
    p_model->u_24.index = find_token(FILE_INPUT_TOKENS, "u");
    if (p_model->u_24.index == 0) {
        return -1;
    }

    /*
     * path: mainsys.Sub.Blk
     * class: sin
     * id: 42, parent: 70, tier: 1, zone: 1002
     */
    // no initialization is required

    /*
     * path: mainsys.Sub.y
     * class: outport
     * id: 25, parent: 70, tier: 1, zone: 1003
     */
    p_model->y_25.name = "y";
    p_model->y_25.index = push_token(FILE_OUTPUT_NAMES, "y");

    /*
     * path: mainsys.Log
     * class: to_workspace
     * id: 44, parent: 0, tier: 0, zone: 2004
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

    {
        /*
         * path: mainsys.Sub.u
         * class: inport
         * id: 24, parent: 70, tier: 1, zone: 1001
         */
        p_model->u_24.port0 = strtod(FILE_INPUT_TOKENS[p_model->u_24.index], NULL);

        /*
         * path: mainsys.Sub.Blk
         * class: sin
         * id: 42, parent: 70, tier: 1, zone: 1002
         */
        p_model->Blk_42.port0 = sin(p_model->u_24.port0);

        /*
         * path: mainsys.Sub.y
         * class: outport
         * id: 25, parent: 70, tier: 1, zone: 1003
         */
        FILE_OUTPUT_VALUES[p_model->y_25.index] = p_model->Blk_42.port0;
    }
    /*
     * path: mainsys.Log
     * class: to_workspace
     * id: 44, parent: 0, tier: 0, zone: 2004
     */
    // no code generated
}
