#include "coder_c.h"
#include "coder_py.h"
#include "tests/fuzz/harness.h"
#include "tests/fuzz/targets.h"

namespace fuzz::generators {

int one_input(const std::uint8_t* data, std::size_t size) {
    const Quiet quiet;
    tessel::test::prepare_bridge();
    tessel::test::ByteChoices choices({data, size});
    const auto model = compiled(model_of(choices).dump());
    if (model == nullptr) return 0;
    const std::string target = folder().string();
    require(coder_c::generate_code(target, model.get()) == tessel::result_ok, "no C project");
    require(coder_py::generate_code(target, model.get()) == tessel::result_ok, "no Python project");
    return 0;
}

}  // namespace fuzz::generators
