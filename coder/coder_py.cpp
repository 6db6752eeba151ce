// coder_py::generate_code: the Python project.
//
//   coder.py, main.py    fixed text
//   model.py             head, the class of each block class in use, model_t with the text of every block in
//                        __init__ and step
#include "coder_py.h"

#include "coder/texts.h"
#include "coder/walk.h"

namespace coder_py {
namespace {

using namespace tessel;
namespace texts = tessel::texts::py;

void make_state(sys::File& file, const IMetaBlock& block) {
    coder::write_level(file, 2);
    file.print("self.{:s}_{} = {:s}()\n", block.name(), block.id(), block.struct_name_py());
}

void open_region(sys::File& file, std::int32_t level, const std::string& condition) {
    coder::write_level(file, level);
    if (condition.empty()) file.print("if True:\n");
    else file.print("if {:s}:\n", condition);
}

constexpr coder::language_t language{
    "self.",
    &IMetaBlock::struct_name_py,
    &IMetaBlock::code_comment_py,
    &IMetaBlock::code_struct_py,
    &IMetaBlock::code_init_py,
    &IMetaBlock::code_step_py,
    2,
    &make_state,
    &open_region,
    nullptr,
};

void write_classes(const std::filesystem::path& target, IMetaModel& model) {
    sys::File model_py(target / "model.py", sys::file_create);
    sys::File coder_py(target / "coder.py", sys::file_create);

    model_py.write(texts::model_py_head);
    coder::write_structures(model, language, model_py);
    model_py.print("\n");

    coder_py.write(texts::coder_py_interpolate1d);
    coder_py.write(texts::coder_py_interpolate2d);

    model_py.close();
    coder_py.close();
}

void write_program(const std::filesystem::path& target, IMetaModel& model) {
    sys::File main_py(target / "main.py", sys::file_create);
    sys::File model_py(target / "model.py", sys::file_append);

    model_py.write(texts::model_py_model_head);
    coder::write_inits(model, language, model_py);
    model_py.write(texts::model_py_step_head);
    coder::write_steps(model, language, model_py);

    main_py.write(texts::main_py_first);
    main_py.write(texts::main_py_second);

    main_py.close();
    model_py.close();
}

}  // namespace

result_t generate_code(std::string_view folder, IMetaModel* model) noexcept {
    if (model == nullptr) return result_failure;
    try {
        const auto target = coder::make_target(folder, "zarn-pcoder");
        model->group_by_subsystem();
        write_classes(target, *model);
        write_program(target, *model);
        return result_ok;
    } catch (...) {
        return result_failure;
    }
}

}  // namespace coder_py
