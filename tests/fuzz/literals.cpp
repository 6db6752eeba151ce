#include "core/literal_bridge.h"
#include "tests/fuzz/harness.h"
#include "tests/fuzz/targets.h"

namespace fuzz::literals {

int one_input(const std::uint8_t* data, std::size_t size) {
    const Quiet quiet;
    auto& bridge = python::literal_bridge();
    const std::string text(reinterpret_cast<const char*>(data), size);

    tessel::var_t value;
    if (bridge.evaluate("scope", text, &value) == tessel::result_ok) {
        require(value.type() != tessel::type_unknown, "a value without a type");
        // a number reads back from its decimal text
        if (value.type() == tessel::type_flt64 || value.type() == tessel::type_int32) {
            tessel::var_t again;
            if (bridge.evaluate("scope", value.to_string(), &again) == tessel::result_ok)
                require(double(again) == double(value), "a number reads back as another");
        }
    }
    python::var_array_t list;
    if (bridge.evaluate_array("scope", text, list) == tessel::result_ok) {
        require(!list.values.empty(), "an empty list is accepted");
        std::size_t count = 1;
        for (const auto extent : list.dimensions) count *= static_cast<std::size_t>(extent);
        require(list.values.size() == count, "a list is not as long as its dimensions say");
    } else {
        require(list.values.empty(), "a refused list leaves values");
    }
    static_cast<void>(bridge.find_series(text.c_str()));
    return 0;
}

}  // namespace fuzz::literals
