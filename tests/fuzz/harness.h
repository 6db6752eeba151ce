// What fuzz targets share: files, damaged diagrams, and a way around what ends or hangs a process by contract.
#pragma once

#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "model/MetaModel.h"
#include "tests/support/random_model.h"

namespace fuzz {

/// Ends the process with a message unless the condition holds.
void require(bool condition, const char* what);

/// This process's folder for files.
const std::filesystem::path& folder();

/// Drops the console's lines and the log's while it lives.
class Quiet {
public:
    Quiet();
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;
    ~Quiet();
};

/// The random diagram that the bytes spell, damaged as told by what is left of them: it stays a model file.
nlohmann::json model_of(tessel::test::ByteChoices& choices);

/// A loaded model, null when the content does not load.
std::unique_ptr<tessel::MetaModel> load(std::string_view content);

/// A compiled model; null when it does not load, when compile refuses it, or when its zones would never be found: a
/// closed loop without memory.
std::unique_ptr<tessel::MetaModel> compiled(std::string_view content);

/// Whether a run can meet the processor's divide fault.
bool can_fault(tessel::MetaModel& model);

}  // namespace fuzz
