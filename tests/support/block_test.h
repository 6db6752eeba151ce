// Test bench of single blocks: a block of a class with linked and typed inputs, its runnable object, its texts.
#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "ExecBlock.h"
#include "core/type.h"
#include "framework/MetaBlock.h"
#include "framework/signature.h"

namespace tessel::test {

/// A value with its type, as it stands in the cell of a port.
struct value_t {
    type_t type = type_unknown;
    std::uint64_t bits = 0;  ///< the cell's bytes, zero behind them

    /// The cell read as a T.
    template <class T>
    T as() const {
        T v;
        std::memcpy(&v, &bits, sizeof v);
        return v;
    }
};

template <class T>
value_t value(T v) {
    value_t made{type_of<T>, 0};
    std::memcpy(&made.bits, &v, sizeof v);
    return made;
}

bool is_nan(const value_t& v);

/// Same type and same bits; one not-a-number is as good as another.
bool operator==(const value_t& a, const value_t& b);

/// Type, bits and number, for messages.
std::ostream& operator<<(std::ostream& out, const value_t& v);

/// A block whose outputs feed the block under test; any number of outputs, of types that the test sets.
class Source final : public MetaBlock {
public:
    Source(std::string name, std::uint64_t id, std::size_t outputs);
    std::uint32_t class_hash() const noexcept override { return class_hash_of("source"); }
    const char* class_name() const noexcept override { return "source"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
    void set_zone(std::int32_t zone) noexcept { zone_ = zone; }
};

/// A source's runnable object: output 0 is a cell of that type which the test fills through `value_ptr`.
std::unique_ptr<ExecBlock> make_feed(type_t type);

/// One block on the bench: named "Blk" with id 42, its input n linked to output n of a source named "In<n>" with id
/// 100 + n, so that generated texts read "p_model->Blk_42.port0" and "p_model->In1_101.port1".
class Bench {
public:
    /// One input for each type; the sources have these types, the block's ports those that the class presets.
    Bench(const char* class_name, std::vector<type_t> sources);

    MetaBlock& block() { return *block_; }
    Source& source(std::size_t input) { return *sources_[input]; }
    void set_param(const char* key, const char* text) { block_->param(key) = var_t(text); }
    void set_tier(std::int32_t tier) { block_->set_tier(tier); }

    /// Types of the block's ports, unknown where there is none.
    type_t input_type(std::size_t index) const;
    type_t output_type(std::size_t index = 0) const;
    /// Types the ports by the class's own rule.
    Bench& typed();
    /// Types the ports as told, inputs and then outputs, whatever the class's rule says.
    Bench& forced(const std::vector<type_t>& types);
    /// The same as a row of accepted combinations tells.
    Bench& forced_as(const signature_t& row);

    /// The text that an emission writes, with the prefix of its language.
    std::string struct_c();
    std::string struct_py();
    std::string init_c();
    std::string init_py();
    std::string step_c();
    std::string step_py();
    /// What the last emission returned.
    result_t code_result() const { return code_result_; }

private:
    std::unique_ptr<MetaBlock> block_;
    std::vector<std::unique_ptr<Source>> sources_;
    /// What one of the code_ operations writes; raises where it writes and yet does not answer by result_ok.
    std::string code(const std::function<result_t(sys::File&)>& write);

    result_t code_result_ = result_ok;
};

/// A runnable object on the bench.
class Runnable {
public:
    /// Takes the block's object, which may be empty.
    explicit Runnable(std::unique_ptr<ExecBlock> exec);
    explicit Runnable(MetaBlock& block) : Runnable(block.create_exec()) {}
    explicit Runnable(Bench& bench) : Runnable(bench.block()) {}

    explicit operator bool() const { return exec_ != nullptr; }
    /// The object; an empty one throws.
    ExecBlock& operator*() const;
    ExecBlock* operator->() const { return &**this; }

    /// Fills an input's cell; the type must be that of the port.
    Runnable& set(std::size_t input, const value_t& v);
    template <class... T>
    Runnable& put(T... v) {
        std::size_t i = 0;
        (set(i++, value(v)), ...);
        return *this;
    }
    Runnable& start(double t = 0.0);
    /// One step as a run does it: set_time, sample, step.
    Runnable& step(double t = 0.0);
    /// One step of the lowered form, which reads the values from cells of the test.
    Runnable& step_lowered(const std::vector<value_t>& inputs, double t = 0.0);
    value_t input(std::size_t index = 0) const { return read((**this).input(static_cast<std::int16_t>(index))); }
    value_t output(std::size_t index = 0) const { return read((**this).output(static_cast<std::int16_t>(index))); }
    /// Output 0 as a T, which its type must be.
    template <class T>
    T out() const {
        check_type(output(), type_of<T>);
        return output().as<T>();
    }

    static value_t read(ExecPort* port);
    static void write(ExecPort* port, const value_t& v);

private:
    static void check_type(const value_t& v, type_t type);

    std::unique_ptr<ExecBlock> exec_;
};

/// Runs a block once: inputs of these values' types, typed by the class's rule, output 0 read as an O.
template <class O, class... T>
O run_once(const char* class_name, T... v) {
    Bench bench(class_name, {type_of<T>...});
    bench.typed();
    return Runnable(bench).put(v...).step().template out<O>();
}

/// The text that `write` puts into a file.
std::string written(const std::function<void(sys::File&)>& write);

/// All accepted combinations of a class.
signatures_t accepted(const char* class_name);

}  // namespace tessel::test
