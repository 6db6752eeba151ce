// Models made ready to run, for the benchmarks.
#pragma once

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "IMetaModel.h"
#include "PropertiesModel.h"
#include "exec/ExecModel.h"
#include "json.h"

namespace bench {

inline double seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

inline double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

/// A loaded and compiled model with its runnable form, and what each of the two took.
struct Ready {
    std::shared_ptr<tessel::IMetaModel> meta = tessel::create_empty_meta_model();
    std::shared_ptr<tessel::PropertiesModel> properties = std::make_shared<tessel::PropertiesModel>();
    std::shared_ptr<tessel::IExecModel> exec = tessel::create_empty_exec_model();
    double load_s = 0, compile_s = 0, build_s = 0;

    explicit Ready(const std::filesystem::path& file) {
        meta->set_properties(properties);
        const double t0 = seconds();
        if (tessel::json::load(meta.get(), file.string()) != tessel::result_ok) throw std::runtime_error("load failed");
        const double t1 = seconds();
        if (const auto result = meta->compile(); result != tessel::result_ok)
            throw std::runtime_error("compile failed: " + std::to_string(result));
        const double t2 = seconds();
        meta->build_exec(exec.get());
        build_s = seconds() - t2;
        compile_s = t2 - t1;
        load_s = t1 - t0;
        for (const auto& block : *exec)
            if (block == nullptr) throw std::runtime_error("a block has no runnable form");
    }
    tessel::ExecModel& model() { return static_cast<tessel::ExecModel&>(*exec); }
    double output(std::uint64_t id) {
        double value;
        exec->find_block(id)->output(0)->to_flt64(&value);
        return value;
    }
};

/// A text as a file that goes with the object.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& text)
        : path_(std::filesystem::temp_directory_path() /
                ("blocks-bench-" + std::to_string(std::hash<std::string>{}(text)) + ".json")) {
        std::ofstream(path_, std::ios::binary) << text;
    }
    ~TemporaryFile() { std::filesystem::remove(path_); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

}  // namespace bench
