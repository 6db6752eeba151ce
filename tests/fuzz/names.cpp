#include <algorithm>
#include <cctype>
#include <fstream>
#include <sstream>

#include "coder_c.h"
#include "coder_py.h"
#include "framework/MetaBlock.h"
#include "tests/fuzz/harness.h"
#include "tests/fuzz/targets.h"
#include "tests/support/diagram.h"

namespace fuzz::names {
namespace {

using namespace tessel;

/// One letter after the other, as a path may hold them.
bool is_path(std::string_view path) {
    return std::ranges::all_of(
        path, [](char c) { return c == '_' || c == '.' || std::isalnum(static_cast<unsigned char>(c)) != 0; });
}

std::string content_of(const std::filesystem::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

}  // namespace

int one_input(const std::uint8_t* data, std::size_t size) {
    const Quiet quiet;
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const auto next = [&rest] {
        const std::string piece(rest.substr(0, rest.find('\0')));
        rest.remove_prefix(std::min(piece.size() + 1, rest.size()));
        return piece;
    };

    test::Diagram d;
    const std::string outer = next(), inner = next();
    d.add("subsys", outer.c_str(), 10, 0, {1, 1});
    d.add_constant(next().c_str(), 11, "1.5");
    d.add_port("inport", next().c_str(), 12, 10, 0);
    d.add("abs", inner.c_str(), 13, 10);
    d.add_port("outport", next().c_str(), 14, 10, 0);
    d.add("display", next().c_str(), 15);
    d.add("hysteresis", next().c_str(), 16);
    d.add("to_workspace", next().c_str(), 17);
    d.link(11, 10);
    d.link(12, 13);
    d.link(13, 14);
    d.link(10, 15);
    d.link(10, 16);
    d.link(16, 17);
    require(d.compile() == result_ok, "names change what compiles");
    for (const auto& block : d.model()) {
        const auto& properties = static_cast<MetaBlock&>(*block).properties();
        require(is_path(properties.path) && is_path(properties.python_path), "a path is no path");
    }
    const std::string target = folder().string();
    require(coder_c::generate_code(target, &d.model()) == result_ok, "no C project");
    require(coder_py::generate_code(target, &d.model()) == result_ok, "no Python project");
    // whole, whatever its length
    const std::string c = content_of(folder() / "zarn-ccoder" / "model.c");
    require(c.find(inner + "_13.port0") != std::string::npos, "a name is not in the C text as it is");
    d.build()->run();
    return 0;
}

}  // namespace fuzz::names
