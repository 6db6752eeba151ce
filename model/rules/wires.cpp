#include "model/rules/wires.h"

namespace tessel::rules {

void Wires::join(std::size_t in, std::size_t out) {
    const wire_t &first = wires_[in], &second = wires_[out];
    joints_.push_back({in, out, drawn_ends(in).first, drawn_ends(out).second});
    wires_.push_back({first.src, second.dst, first.src_port, second.dst_port});
    gone_.push_back(false);
}

}  // namespace tessel::rules
