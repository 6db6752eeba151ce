// A model whose blocks, tiers, parents and order are the test's choice, and blocks with the shortest text.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ExecBlock.h"
#include "IMetaModel.h"
#include "framework/MetaBlock.h"

namespace tessel::test {

/// Writes one line in each walk: "structure NAME", "init NAME", "step NAME", indented as blocks do it.
class FakeBlock final : public MetaBlock {
public:
    FakeBlock(std::string name, std::uint64_t id, std::uint64_t parent, std::int32_t tier, int outputs = 1);

    std::uint32_t class_hash() const noexcept override { return class_hash_of("fake"); }
    const char* class_name() const noexcept override { return "fake"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
    std::string struct_name() const override { return structure; }
    std::string struct_name_py() const override { return structure; }
    result_t code_struct_c(sys::File& file) override { return write_structure(file); }
    result_t code_struct_py(sys::File& file) override { return write_structure(file); }
    result_t code_init_c(sys::File& file, const char* prefix) override;
    result_t code_init_py(sys::File& file, const char* prefix) override;
    result_t code_step_c(sys::File& file, const char* prefix) override;
    result_t code_step_py(sys::File& file, const char* prefix) override;

    std::string structure = "fake_t";
    result_t answer = result_ok;  ///< what the emissions return
    bool throws = false;          ///< whether the step raises instead of writing

private:
    result_t write_structure(sys::File& file);
};

class FakeModel final : public IMetaModel {
public:
    /// Adds a block behind the others; ids count from 1.
    FakeBlock& add(std::string name, std::uint64_t parent = 0, std::int32_t tier = 0, int outputs = 1);
    void add_null() { blocks.push_back(nullptr); }

    void clear() noexcept override { blocks.clear(); }
    const var_t& get(std::string_view) const override;
    std::uint64_t tier_count() const override { return 0; }
    std::uint64_t zone_count() const override { return 0; }
    void set_properties(std::shared_ptr<PropertiesModel>) noexcept override {}
    void set(std::string_view, var_t) override {}
    void add_block(std::unique_ptr<IMetaBlock>&& block) override { blocks.push_back(std::move(block)); }
    IMetaBlock* find_block(std::uint64_t) const noexcept override { return nullptr; }
    IMetaBlock* find_enable(std::uint64_t id) const noexcept override;
    IMetaBlock* find_inport(std::uint64_t, std::int16_t) const noexcept override { return nullptr; }
    IMetaBlock* find_outport(std::uint64_t, std::int16_t) const noexcept override { return nullptr; }
    iterator begin() noexcept override { return blocks.begin(); }
    iterator end() noexcept override { return blocks.end(); }
    void export_json(nlohmann::json&) override {}
    void import_json(const nlohmann::json&, bool) override {}
    result_t compile() noexcept override { return result_failure; }
    void build_exec(IExecModel*) override {}
    result_t group_by_subsystem() noexcept override;
    result_t sort_by_zone() noexcept override { return result_failure; }

    std::vector<std::unique_ptr<IMetaBlock>> blocks;
    std::map<std::uint64_t, IMetaBlock*> enables;  ///< from a block's id to the answer of find_enable
    mutable std::vector<std::uint64_t> asked;      ///< ids that find_enable was asked for
    int grouped = 0;                               ///< calls of group_by_subsystem
};

/// A folder of its own below the system's temporary folder, gone with the object.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    const std::filesystem::path& path() const { return path_; }
    std::string text() const { return path_.string(); }

private:
    std::filesystem::path path_;
};

/// The bytes of a file; a missing file fails the test and gives "".
std::string read_file(const std::filesystem::path& path);

/// The first lines in which two texts differ, for messages; "" for equal texts.
std::string first_difference(const std::string& expected, const std::string& made);

}  // namespace tessel::test
