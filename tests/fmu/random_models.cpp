// Writes random diagrams as model files: random_models FOLDER COUNT SEED gives FOLDER/m0.json and so on. They play the
// series "recorded" of the workspace, which FOLDER/workspace.py makes.
#include "tests/support/random_model.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

int main(int count, char** arguments) {
    if (count != 4) return 2;
    const std::filesystem::path folder = arguments[1];
    const auto models = std::strtoull(arguments[2], nullptr, 10), seed = std::strtoull(arguments[3], nullptr, 10);
    for (std::uint64_t i = 0; i < models; ++i) {
        tessel::test::SeededChoices choices(seed + i);
        tessel::test::random_model_t shape;
        shape.blocks = 15 + choices.below(40);
        std::ofstream(folder / ("m" + std::to_string(i) + ".json")) << tessel::test::random_model(choices, shape);
    }
    std::ofstream(folder / "workspace.py")
        << tessel::test::random_series << " = ([-1.0, 0.0, 0.3, 2.0, 2.0], [0.5, -1.0, 70000.0, 3.0, -4.25])\n";
}
