// The notes on a model's generated project, worked out from the table of known texts (known.h).
#include "host/generate/notes.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <memory>
#include <string_view>
#include <unordered_map>

#include "core/format.h"
#include "core/var.h"
#include "host/generate/known.h"
#include "host/generate/regions.h"
#include "host/generate/texts.h"
#include "port.h"

namespace zarn {
namespace {

using tessel::format;
using tessel::IMetaBlock;
using tessel::IMetaModel;
using tessel::var_t;

/// The order of a model's blocks, put back at the end: grouping starts from the order that it finds, so a second one
/// may come out otherwise than the first.
class KeptOrder {
public:
    explicit KeptOrder(IMetaModel& model) : model_(model) {
        for (const auto& block : model) order_.push_back(block.get());
    }
    KeptOrder(const KeptOrder&) = delete;
    KeptOrder& operator=(const KeptOrder&) = delete;
    ~KeptOrder() {
        std::unordered_map<const IMetaBlock*, std::unique_ptr<IMetaBlock>> blocks;
        for (auto& block : model_)
            if (block != nullptr) blocks.emplace(block.get(), std::move(block));
        auto place = model_.begin();
        for (const IMetaBlock* block : order_) {
            if (block != nullptr) *place = std::move(blocks.at(block));
            ++place;
        }
    }

private:
    IMetaModel& model_;
    std::vector<const IMetaBlock*> order_;
};

/// Gathers the notes on one model in one language.
class Notes {
public:
    Notes(IMetaModel& model, language_t language) : model_(model), language_(language) {}

    std::vector<note_t> gather() {
        const KeptOrder order(model_);
        model_.group_by_subsystem();
        note_project();
        for (const auto& block : model_) {
            if (block == nullptr) continue;
            note_names(*block);
            for (const known_t& known : known_texts())
                if (known.language == language_ && known.class_name == block->class_name() && known.applies(*block))
                    add(*block, known.what, known.sentence);
            note_conversions(*block);
            note_parameters(*block);
            note_tables(*block);
            note_gate(*block);
        }
        std::ranges::move(region_notes(model_, language_), std::back_inserter(notes_));
        return std::move(notes_);
    }

private:
    void add(const IMetaBlock& block, const char* what, std::string sentence) {
        notes_.push_back({subject_of(block), what, std::move(sentence)});
    }
    void add_project(const char* what, const char* sentence) { notes_.push_back({"project", what, sentence}); }

    template <class Test>
    bool any_output(Test test) const {
        return std::any_of(model_.begin(), model_.end(), [&](const auto& block) {
            return block != nullptr && block->output_count() != 0 && test(block->output(0)->type());
        });
    }

    void note_project() {
        if (language_ == language_t::c) {
            add_project(not_linked,
                        "CMakeLists.txt links 'executer' with 'model' for one compiler only; build and use "
                        "the library 'model', or add the link");
            add_project(differs, "main makes one step at time 0, whatever file it is given");
            add_project(differs,
                        "values that init does not assign start as whatever the memory holds; clear model_t "
                        "before init");
        } else {
            add_project(differs,
                        "main reads every other line of its input file, beginning with the second of its data");
            if (any_output([](tessel::type_t type) { return type != tessel::type_flt64; }))
                add_project(differs,
                            "numbers have no type in Python: integers neither wrap nor lose their fraction, and "
                            "flt32 is not rounded");
        }
    }

    void note_names(const IMetaBlock& block) {
        const char* broken = language_ == language_t::c ? not_compiled : not_parsed;
        if (block.output_count() != 0 && !makes_identifier(block.name()))
            add(block, broken, format("'{}' is no identifier", block.name()));
        const std::string_view name = block.class_name();
        const bool quoted = name == "display" || name == "inport" || name == "outport";
        if (quoted && breaks_quotes(block.name()))
            add(block, broken, "its name stands between quotes and has a quote, a backslash or a line end in it");
        if (name == "display" && language_ == language_t::c && block.name().find('%') != std::string_view::npos)
            add(block, differs, "its name holds a percent sign, which printf reads as a conversion");
    }

    /// Generated code reads a source's variable as it is: the conversion that an input of another type makes is lost.
    void note_conversions(const IMetaBlock& block) {
        if (!has_step_code(block)) return;
        for (std::uint64_t i = 0; i < block.input_count(); ++i)
            if (loses_conversion(block, i, language_))
                add(block, differs,
                    format("input {} is read as {}; a run converts it to {} first", i,
                           tessel::short_name(variable_type(block, i)),
                           block.input(static_cast<std::int16_t>(i))->type_name()));
    }

    void note_parameters(IMetaBlock& block) {
        for (const parameter_t& parameter : parameters_of(block.class_name())) {
            const var_t& value = block.param(parameter.key);
            const std::string text = value.is_text() ? value.text() : value.to_string();
            const bool is_pasted = language_ == language_t::python && parameter.pasted_in_python;
            if (is_pasted) {
                if (const std::string name = foreign_name(text); !name.empty())
                    add(block, not_run,
                        format("\"{}\" is written as '{}', and there is no '{}' in the program", parameter.key, text,
                               name));
            } else if (parameter.six_digits && needs_more_than_six_digits(text)) {
                add(block, differs, format("\"{}\" is written with six digits", parameter.key));
            }
        }
    }

    /// One C structure serves all tables of a type; it has the size of the first.
    void note_tables(IMetaBlock& block) {
        const std::string_view name = block.class_name();
        if (language_ != language_t::c || (name != "lut1d" && name != "lut2d")) return;
        std::array<std::ptrdiff_t, 2> commas{};
        for (std::size_t i = 0; i < commas.size(); ++i) {
            const var_t& value = block.param(i == 0 ? "bp1" : "bp2");
            const std::string_view text = value.is_text() ? value.text() : "";
            commas[i] = std::ranges::count(text, ',');
        }
        const auto [first, fresh] = tables_.try_emplace(block.struct_name(), commas, subject_of(block));
        if (!fresh && first->second.first != commas)
            add(block, differs,
                format("its structure is that of {}, whose table is of another size", first->second.second));
    }

    /// A run clears the flag of an enable block before each step, so what stands before the block never sees it set.
    void note_gate(const IMetaBlock& block) {
        if (!has_step_code(block)) return;
        const auto [found, fresh] = gates_.try_emplace(block.parent_id(), nullptr);
        if (fresh) found->second = model_.find_enable(block.id());
        const IMetaBlock* gate = found->second;
        const auto order = [](const IMetaBlock& b) { return std::pair(b.zone(), b.class_hash()); };
        if (gate != nullptr && order(block) < order(*gate))
            add(block, differs, "a run never steps it, as its enable block comes later; generated code does");
    }

    IMetaModel& model_;
    language_t language_;
    std::vector<note_t> notes_;
    std::unordered_map<std::uint64_t, const IMetaBlock*> gates_;  // by the parent of the blocks that they govern
    std::map<std::string, std::pair<std::array<std::ptrdiff_t, 2>, std::string>> tables_;
};

}  // namespace

std::vector<note_t> find_notes(IMetaModel& model, language_t language) { return Notes(model, language).gather(); }

std::vector<std::string> notes_for(IMetaModel& model, language_t language) {
    std::vector<std::string> lines;
    for (const note_t& note : find_notes(model, language))
        lines.push_back(format("{}: {}: {}", note.subject, note.what, note.sentence));
    return lines;
}

}  // namespace zarn
