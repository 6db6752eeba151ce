// The notes on a model's generated project, worked out from what its classes say of their texts.
#include "host/codenotes/notes.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <string_view>
#include <unordered_map>

#include "core/format.h"
#include "core/var.h"
#include "framework/classes.h"
#include "host/codenotes/regions.h"
#include "host/codenotes/texts.h"
#include "port.h"

namespace zarn {
namespace {

using tessel::differs, tessel::not_compiled, tessel::not_linked, tessel::not_parsed, tessel::not_run;
using tessel::format;
using tessel::IMetaBlock;
using tessel::IMetaModel;
using tessel::parameter_traits_t;
using tessel::type_t;
using tessel::var_t;
using tessel::variable_type;
using tessel::factory::traits_of;

/// Whether a run converts a value for an input, of another type than the source's, in a way that the text does not.
bool loses_conversion(const IMetaBlock& block, std::uint64_t index, dialect_t dialect) {
    const type_t variable = variable_type(block, index);
    const type_t input = block.input(static_cast<std::int16_t>(index))->type();
    if (variable == tessel::type_unknown || input == tessel::type_unknown || variable == input) return false;
    const tessel::block_traits_t& traits = traits_of(block);
    if (index < traits.inputs.size() && traits.inputs.begin()[index].told_apart) return false;
    const tessel::text_traits_t& text = traits.text;
    if (dialect == dialect_t::c && text.converts_in_c) return false;
    if (variable == tessel::type_bool) return text.integer_quotient && tessel::is_float_type(input);
    return !(input == tessel::type_bool && text.tests_truth);
}

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
    Notes(IMetaModel& model, dialect_t dialect) : model_(model), dialect_(dialect) {}

    std::vector<note_t> gather() {
        const KeptOrder order(model_);
        model_.group_by_subsystem();
        note_project();
        for (const auto& block : model_) {
            if (block == nullptr) continue;
            note_names(*block);
            note_class(*block);
            note_conversions(*block);
            note_parameters(*block);
            note_tables(*block);
            note_gate(*block);
        }
        std::ranges::move(region_notes(model_, dialect_), std::back_inserter(notes_));
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
        if (dialect_ == dialect_t::c) {
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

    /// What the block's class says of its text.
    void note_class(const IMetaBlock& block) {
        for (const tessel::text_note_t& note : traits_of(block).text.notes) {
            if (note.dialect != dialect_ && note.dialect != dialect_t::both) continue;
            if (note.occasion == nullptr || note.occasion->holds(block)) add(block, note.what, note.sentence);
        }
    }

    void note_names(const IMetaBlock& block) {
        const char* broken = dialect_ == dialect_t::c ? not_compiled : not_parsed;
        if (block.output_count() != 0 && !makes_identifier(block.name()))
            add(block, broken, format("'{}' is no identifier", block.name()));
        const tessel::text_traits_t& text = traits_of(block).text;
        if (text.quotes_name && breaks_quotes(block.name()))
            add(block, broken, "its name stands between quotes and has a quote, a backslash or a line end in it");
        if (text.prints_name && dialect_ == dialect_t::c && block.name().find('%') != std::string_view::npos)
            add(block, differs, "its name holds a percent sign, which printf reads as a conversion");
    }

    /// Generated code reads a source's variable as it is: the conversion that an input of another type makes is lost.
    void note_conversions(const IMetaBlock& block) {
        if (traits_of(block).text.silent) return;
        for (std::uint64_t i = 0; i < block.input_count(); ++i)
            if (loses_conversion(block, i, dialect_))
                add(block, differs,
                    format("input {} is read as {}; a run converts it to {} first", i,
                           tessel::short_name(variable_type(block, i)),
                           block.input(static_cast<std::int16_t>(i))->type_name()));
    }

    void note_parameters(IMetaBlock& block) {
        for (const parameter_traits_t& parameter : traits_of(block).parameters) {
            if (!parameter.pasted && !parameter.six_digits) continue;
            const var_t& value = block.param(parameter.key);
            const std::string text = value.is_text() ? value.text() : value.to_string();
            const bool is_pasted = dialect_ == dialect_t::python && parameter.pasted;
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
        if (dialect_ != dialect_t::c) return;
        std::vector<std::ptrdiff_t> commas;  // of each list of breakpoints
        for (const parameter_traits_t& parameter : traits_of(block).parameters) {
            if (parameter.limit != tessel::limit_t::rising) continue;
            const var_t& value = block.param(parameter.key);
            const std::string_view text = value.is_text() ? value.text() : "";
            commas.push_back(std::ranges::count(text, ','));
        }
        if (commas.empty()) return;
        const auto [first, fresh] = tables_.try_emplace(block.struct_name(), commas, subject_of(block));
        if (!fresh && first->second.first != commas)
            add(block, differs,
                format("its structure is that of {}, whose table is of another size", first->second.second));
    }

    /// A run clears the flag of an enable block before each step, so what stands before the block never sees it set.
    void note_gate(const IMetaBlock& block) {
        if (traits_of(block).text.silent) return;
        const auto [found, fresh] = gates_.try_emplace(block.parent_id(), nullptr);
        if (fresh) found->second = model_.find_enable(block.id());
        const IMetaBlock* gate = found->second;
        const auto order = [](const IMetaBlock& b) { return std::pair(b.zone(), b.class_hash()); };
        if (gate != nullptr && order(block) < order(*gate))
            add(block, differs, "a run never steps it, as its enable block comes later; generated code does");
    }

    IMetaModel& model_;
    dialect_t dialect_;
    std::vector<note_t> notes_;
    std::unordered_map<std::uint64_t, const IMetaBlock*> gates_;  // by the parent of the blocks that they govern
    std::map<std::string, std::pair<std::vector<std::ptrdiff_t>, std::string>> tables_;
};

}  // namespace

std::vector<note_t> find_notes(IMetaModel& model, dialect_t dialect) { return Notes(model, dialect).gather(); }

std::vector<std::string> notes_for(IMetaModel& model, dialect_t dialect) {
    std::vector<std::string> lines;
    for (const note_t& note : find_notes(model, dialect))
        lines.push_back(format("{}: {}: {}", note.subject, note.what, note.sentence));
    return lines;
}

}  // namespace zarn
