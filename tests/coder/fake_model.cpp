#include "tests/coder/fake_model.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace tessel::test {
namespace {

std::shared_ptr<PropertiesBlock> properties_of(std::string name, std::uint64_t id, std::uint64_t parent) {
    auto properties = std::make_shared<PropertiesBlock>();
    properties->path = "p." + name;
    properties->name = std::move(name);
    properties->id = id;
    properties->parent = parent;
    return properties;
}

}  // namespace

FakeBlock::FakeBlock(std::string name, std::uint64_t id, std::uint64_t parent, std::int32_t tier, int outputs)
    : MetaBlock(properties_of(std::move(name), id, parent)) {
    resize_ports(1, outputs);
    for (port_t& port : outputs_) port.set_type(type_flt64);
    tier_ = tier;
    zone_ = 0;
}

result_t FakeBlock::write_structure(sys::File& file) {
    file.print("structure {}\n", name());
    return answer;
}

result_t FakeBlock::code_init_c(sys::File& file, const char* prefix) {
    write_indented(1, file, "init {}\n", own_state(prefix));
    return answer;
}

result_t FakeBlock::code_init_py(sys::File& file, const char* prefix) {
    write_indented(2, file, "init {}\n", own_state(prefix));
    return answer;
}

result_t FakeBlock::code_step_c(sys::File& file, const char* prefix) {
    if (throws) throw std::runtime_error("no text");
    write_step_c(file, 0, "step {}\n", own_state(prefix));
    return answer;
}

result_t FakeBlock::code_step_py(sys::File& file, const char* prefix) {
    if (throws) throw std::runtime_error("no text");
    write_step_py(file, 0, "step {}\n", own_state(prefix));
    return answer;
}

FakeBlock& FakeModel::add(std::string name, std::uint64_t parent, std::int32_t tier, int outputs) {
    auto block = std::make_unique<FakeBlock>(std::move(name), blocks.size() + 1, parent, tier, outputs);
    FakeBlock& added = *block;
    blocks.push_back(std::move(block));
    return added;
}

const var_t& FakeModel::get(std::string_view) const { throw std::out_of_range("no settings"); }

IMetaBlock* FakeModel::find_enable(std::uint64_t id) const noexcept {
    asked.push_back(id);
    const auto found = enables.find(id);
    return found != enables.end() ? found->second : nullptr;
}

result_t FakeModel::group_by_subsystem() noexcept {
    ++grouped;
    return result_ok;
}

Folder::Folder() {
    static std::atomic<unsigned> counter{0};
    path_ = std::filesystem::temp_directory_path() /
            ("blocks_coder_" + std::to_string(::getpid()) + "_" + std::to_string(counter++));
    std::filesystem::create_directories(path_);
}

Folder::~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string read_file(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in) << path;
    return {std::istreambuf_iterator<char>(in), {}};
}

std::string first_difference(const std::string& expected, const std::string& made) {
    if (expected == made) return {};
    std::istringstream a(expected), b(made);
    std::string line_a, line_b;
    for (int line = 1;; ++line) {
        const bool has_a = static_cast<bool>(std::getline(a, line_a));
        const bool has_b = static_cast<bool>(std::getline(b, line_b));
        if (has_a && has_b && line_a == line_b) continue;
        return "line " + std::to_string(line) + ":\n  expected " + (has_a ? line_a : "the end") + "\n  made     " +
               (has_b ? line_b : "the end");
    }
}

}  // namespace tessel::test
