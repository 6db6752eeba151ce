// coder_c::generate_code: the C project.
//
//   CMakeLists.txt, coder.h, coder.c, main.c    fixed text
//   model.h    head, the structure of each kind of block, model_t with a member for each block with outputs, tail
//   model.c    init with the text of every block, step with the regions of the subsystems
#include "coder_c.h"

#include "coder/texts.h"
#include "coder/walk.h"

namespace coder_c {
namespace {

using namespace tessel;
namespace texts = tessel::texts::c;

void open_region(sys::File& file, std::int32_t level, const std::string& condition) {
    if (!condition.empty()) {
        coder::write_level(file, level);
        file.print("if ({:s})\n", condition);
    }
    coder::write_level(file, level);
    file.print("{{\n");
}

void close_region(sys::File& file, std::int32_t level) {
    coder::write_level(file, level);
    file.print("}}\n");
}

constexpr coder::language_t language{
    "p_model->",
    &IMetaBlock::struct_name,
    &IMetaBlock::code_comment_c,
    &IMetaBlock::code_struct_c,
    &IMetaBlock::code_init_c,
    &IMetaBlock::code_step_c,
    1,
    nullptr,
    &open_region,
    &close_region,
};

void write_cmake(const std::filesystem::path& target) {
    sys::File file(target / "CMakeLists.txt", sys::file_create);
    file.write(texts::CMakeLists_txt);
    file.close();
}

void write_members(IMetaModel& model, sys::File& file) {
    for (const auto& block : model) {
        if (block == nullptr || block->output_count() == 0) continue;
        coder::write_level(file, 1);
        file.print("{:s} {:s}_{};\n", block->struct_name(), block->name(), block->id());
    }
}

void write_headers(const std::filesystem::path& target, IMetaModel& model) {
    sys::File model_h(target / "model.h", sys::file_create);
    sys::File coder_h(target / "coder.h", sys::file_create);

    model_h.write(texts::model_h_head);
    coder::write_structures(model, language, model_h);
    model_h.print("typedef struct\n{{\n");
    write_members(model, model_h);
    model_h.write(texts::model_h_tail);

    coder_h.write(texts::coder_h_head);
    coder_h.write(texts::coder_h_interpolate1d);
    coder_h.write(texts::coder_h_interpolate2d);

    model_h.close();
    coder_h.close();
}

void write_sources(const std::filesystem::path& target, IMetaModel& model) {
    sys::File main_c(target / "main.c", sys::file_create);
    sys::File model_c(target / "model.c", sys::file_create);
    sys::File coder_c(target / "coder.c", sys::file_create);

    model_c.write(texts::model_c_init_head);
    coder::write_inits(model, language, model_c);
    model_c.print("}}\n");
    model_c.write(texts::model_c_step_head);
    coder::write_steps(model, language, model_c);
    model_c.print("}}\n");

    coder_c.write(texts::coder_c_include);
    coder_c.write(texts::coder_c_interpolate1d);
    coder_c.write(texts::coder_c_interpolate2d);

    main_c.write(texts::main_c_globals);
    main_c.write(texts::main_c_tokenize);
    main_c.write(texts::main_c_find_token);
    main_c.write(texts::main_c_push_token);
    main_c.write(texts::main_c_main);

    main_c.close();
    model_c.close();
    coder_c.close();
}

}  // namespace

result_t generate_code(std::string_view folder, IMetaModel* model) noexcept {
    if (model == nullptr) return result_failure;
    try {
        const auto target = coder::make_target(folder, "zarn-ccoder");
        model->group_by_subsystem();
        write_cmake(target);
        write_headers(target, *model);
        write_sources(target, *model);
        return result_ok;
    } catch (...) {
        return result_failure;
    }
}

}  // namespace coder_c
