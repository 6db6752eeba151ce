#include "host/cli/limits.h"

#include <cmath>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <unordered_map>

#include "core/format.h"
#include "core/str.h"
#include "host/cli/session.h"
#include "host/diagnose/memory.h"
#include "port.h"

namespace zarn {
namespace {

constexpr std::int64_t most_ports = 65535;           // of a block: links count in 16 bits
constexpr std::int64_t most_ports_all = 20'000'000;  // of a model: the ports alone take 32 bytes each

/// Reads the port counts and the references of a model file without building the whole of it in memory.
class Scan final : public nlohmann::json_sax<nlohmann::json> {
public:
    Scan(strictness_t strictness, std::int64_t& ports) : strictness_(strictness), ports_(ports) {}

    const std::string& problem() const { return problem_; }
    const std::vector<std::string>& references() const { return references_; }

    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(number_integer_t value) override { return count(static_cast<double>(value)); }
    bool number_unsigned(number_unsigned_t value) override { return count(static_cast<double>(value)); }
    bool number_float(number_float_t value, const string_t&) override { return count(value); }
    bool string(string_t& value) override {
        if (in_block() && class_ == "refsys" && key_ == "path") references_.push_back(value);
        if (in_block() && key_ == "name") name_ = value;
        return true;
    }
    bool binary(binary_t&) override { return true; }
    bool start_object(std::size_t) override {
        ++depth_;
        return true;
    }
    bool end_object() override {
        --depth_;
        return true;
    }
    bool start_array(std::size_t) override {
        ++depth_;
        return true;
    }
    bool end_array() override {
        --depth_;
        return true;
    }
    bool key(string_t& text) override {
        if (depth_ == 1) in_blocks_ = text == "blocks";
        if (depth_ == 3) {
            class_ = text;
            name_.clear();
        }
        if (depth_ == 4) key_ = text;
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override { return false; }

private:
    bool in_block() const { return in_blocks_ && depth_ == 4; }

    bool count(double value) {
        if (strictness_ == strictness_t::readable) return true;
        if (!in_block() || (key_ != "inportCount" && key_ != "outportCount")) return true;
        const bool all = strictness_ == strictness_t::sensible;
        if (all && (value < 0.0 || value > static_cast<double>(most_ports))) {
            problem_ = tessel::format("block '{}' ({}): {} is {}; a block has 0 to {} ports", name_, class_, key_,
                                      written(value), most_ports);
            return false;
        }
        if (all || key_ == "inportCount") ports_ += std::max(as_loaded(value), 0);
        if (ports_ > most_ports_all) {
            problem_ = tessel::format("block '{}' ({}): with its {} ports the model has more than {} ports", name_,
                                      class_, written(value), most_ports_all);
            return false;
        }
        return true;
    }
    /// The loader reads an int.
    static std::int32_t as_loaded(double value) {
        return std::abs(value) < 9e18 ? static_cast<std::int32_t>(static_cast<std::int64_t>(value)) : 0;
    }
    static std::string written(double value) {
        return std::abs(value) < 1e15 && value == std::trunc(value)
                   ? tessel::format("{}", static_cast<std::int64_t>(value))
                   : tessel::str::shortest(value);
    }

    strictness_t strictness_;
    std::int64_t& ports_;
    std::string problem_;
    std::vector<std::string> references_;
    int depth_ = 0;
    bool in_blocks_ = false;
    std::string class_, name_, key_;
};

/// What is at that place, "" for a file that can be read.
std::string unreadable(const std::filesystem::path& file) {
    std::error_code error;
    const auto status = std::filesystem::status(file, error);
    if (error && status.type() != std::filesystem::file_type::not_found) return error.message();
    switch (status.type()) {
        case std::filesystem::file_type::regular: return {};
        case std::filesystem::file_type::not_found: return "no such file";
        case std::filesystem::file_type::directory: return "a folder, not a file";
        default: return "not a regular file";
    }
}

std::string scan(const std::filesystem::path& file, Scan& reader) {
    std::ifstream in(file, std::ios::binary);
    if (!in) return {};  // the loader tells the reason
    nlohmann::json::sax_parse(in, &reader);
    return reader.problem();
}

/// Works out zones as far as the pass will get; answers the blocks that it can never reach.
std::vector<tessel::IMetaBlock*> find_stuck(tessel::IMetaModel& model) {
    std::unordered_map<const tessel::IMetaBlock*, std::vector<tessel::IMetaBlock*>> consumers;
    std::vector<tessel::IMetaBlock*> ready;
    for (const auto& block : model) {
        if (block == nullptr) continue;
        ready.push_back(block.get());
        for (std::uint64_t i = 0; i < block->input_count(); ++i)
            if (const auto* source = block->input(static_cast<std::int16_t>(i))->source_block(); source != nullptr)
                consumers[source].push_back(block.get());
    }
    while (!ready.empty()) {
        tessel::IMetaBlock* block = ready.back();
        ready.pop_back();
        if (block->zone() >= 0 || block->calculate_zone() != 0 || block->zone() < 0) continue;
        if (const auto found = consumers.find(block); found != consumers.end())
            ready.insert(ready.end(), found->second.begin(), found->second.end());
    }
    std::vector<tessel::IMetaBlock*> stuck;
    for (const auto& block : model)
        if (block != nullptr && block->zone() < 0) stuck.push_back(block.get());
    return stuck;
}

/// A source of the block that has no zone either.
tessel::IMetaBlock* stuck_source(tessel::IMetaBlock& block) {
    for (std::uint64_t i = 0; i < block.input_count(); ++i) {
        auto* source = block.input(static_cast<std::int16_t>(i))->source_block();
        if (source != nullptr && source->zone() < 0) return source;
    }
    return nullptr;
}

}  // namespace

std::string find_too_large(const std::filesystem::path& file) {
    double bytes = memory_of(file);
    if (auto problem = too_large(bytes); bytes == 0.0 || !problem.empty()) return problem;
    std::int64_t ports = 0;
    Scan reader(strictness_t::readable, ports);
    scan(file, reader);
    std::unordered_map<std::string, double> known;  // one file can be referred to many times
    for (const std::string& path : reader.references()) {
        const auto [other, added] = known.try_emplace(path, 0.0);
        if (added) other->second = memory_of(file.parent_path() / path);
        bytes += other->second;
        if (const auto problem = too_large(bytes); !problem.empty())
            return tessel::format("with reference '{}' the model {}", path, problem);
    }
    return {};
}

std::string find_unloadable(const std::filesystem::path& file, strictness_t strictness) {
    if (auto problem = unreadable(file); !problem.empty()) return problem;
    if (auto problem = find_too_large(file); !problem.empty()) return problem;
    std::int64_t ports = 0;
    Scan reader(strictness, ports);
    if (auto problem = scan(file, reader); !problem.empty()) return problem;
    for (const std::string& path : reader.references()) {
        const auto refused = [&path](const std::string& why) {
            return tessel::format("reference '{}': {}", path, why);
        };
        const auto other = file.parent_path() / path;
        std::error_code error;
        if (std::filesystem::is_other(std::filesystem::status(other, error))) return refused(unreadable(other));
        Scan referenced(strictness, ports);
        if (const auto problem = scan(other, referenced); !problem.empty()) return refused(problem);
    }
    return {};
}

void LoopGuard::enter_zones(tessel::IMetaModel& model, const std::function<void()>& on_loop) {
    const auto stuck = find_stuck(model);
    if (stuck.empty()) return;

    std::unordered_map<const tessel::IMetaBlock*, std::size_t> seen;
    std::vector<tessel::IMetaBlock*> way;
    for (auto* block = stuck.front(); block != nullptr && !seen.contains(block); block = stuck_source(*block)) {
        seen.emplace(block, way.size());
        way.push_back(block);
    }
    if (auto* closing = stuck_source(*way.back()); closing != nullptr)
        for (std::size_t i = way.size(); i-- > seen.at(closing);) loop_.push_back(path_of(*way[i]));

    if (on_loop) on_loop();
    opener_ = tessel::factory::create("time");
    opener_->calculate_zone();
    for (auto* block : stuck)
        for (std::uint64_t i = 0; i < block->input_count(); ++i) {
            auto* input = block->input(static_cast<std::int16_t>(i));
            if (input->source_block() != nullptr && input->source_block()->zone() < 0) input->link(opener_.get(), 0);
        }
}

}  // namespace zarn
