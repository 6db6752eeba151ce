#include "tests/support/block_test.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <stdexcept>
#include <utility>

#include "factory.h"
#include "framework/classes.h"
#include "tests/support/Held.h"

namespace tessel::test {
namespace {

constexpr const char* prefix_c = "p_model->";
constexpr const char* prefix_py = "self.";

std::shared_ptr<PropertiesBlock> named(std::string name, std::uint64_t id) {
    auto properties = std::make_shared<PropertiesBlock>();
    properties->name = std::move(name);
    properties->id = id;
    return properties;
}

template <class T>
std::unique_ptr<ExecBlock> make_feed_of() {
    return make_exec<HeldExec<inputs<>, outputs<T>>>();
}

}  // namespace

bool is_nan(const value_t& v) {
    return (v.type == type_flt32 && std::isnan(v.as<float>())) || (v.type == type_flt64 && std::isnan(v.as<double>()));
}

bool operator==(const value_t& a, const value_t& b) {
    return a.type == b.type && (a.bits == b.bits || (is_nan(a) && is_nan(b)));
}

std::ostream& operator<<(std::ostream& out, const value_t& v) {
    const char* name = short_name(v.type);
    out << (name != nullptr ? name : "untyped") << " 0x" << std::hex << v.bits << std::dec;
    switch (v.type) {
        case type_int8: return out << " (" << int{v.as<std::int8_t>()} << ")";
        case type_int16: return out << " (" << v.as<std::int16_t>() << ")";
        case type_int32: return out << " (" << v.as<std::int32_t>() << ")";
        case type_int64: return out << " (" << v.as<std::int64_t>() << ")";
        case type_flt32: return out << " (" << v.as<float>() << ")";
        case type_flt64: return out << " (" << v.as<double>() << ")";
        default: return out << " (" << v.bits << ")";
    }
}

Source::Source(std::string name, std::uint64_t id, std::size_t outputs) : MetaBlock(named(std::move(name), id)) {
    resize_ports(0, static_cast<int>(outputs));
    zone_ = 0;
}

std::unique_ptr<ExecBlock> make_feed(type_t type) {
    switch (type) {
        case type_bool: return make_feed_of<bool>();
        case type_int8: return make_feed_of<std::int8_t>();
        case type_uint8: return make_feed_of<std::uint8_t>();
        case type_int16: return make_feed_of<std::int16_t>();
        case type_uint16: return make_feed_of<std::uint16_t>();
        case type_int32: return make_feed_of<std::int32_t>();
        case type_uint32: return make_feed_of<std::uint32_t>();
        case type_int64: return make_feed_of<std::int64_t>();
        case type_uint64: return make_feed_of<std::uint64_t>();
        case type_flt32: return make_feed_of<float>();
        case type_flt64: return make_feed_of<double>();
        default: throw std::invalid_argument("a feed needs a value type");
    }
}

// ---- Bench
Bench::Bench(const char* class_name, std::vector<type_t> sources) {
    auto properties = named("Blk", 42);
    properties->inportCount = sources.size();
    auto made = factory::create(class_name, properties);
    if (made == nullptr) throw std::invalid_argument(std::string("no class ") + class_name);
    block_.reset(static_cast<MetaBlock*>(made.release()));
    if (block_->input_count() < sources.size()) block_->resize_ports(static_cast<int>(sources.size()), -1);
    for (std::size_t i = 0; i < sources.size(); ++i) {
        sources_.push_back(std::make_unique<Source>("In" + std::to_string(i), 100 + i, i + 1));
        const auto index = static_cast<std::int16_t>(i);
        sources_[i]->output(index)->set_type(sources[i]);
        block_->input(index)->link(sources_[i].get(), index);
    }
    block_->set_tier(0);
}

type_t Bench::input_type(std::size_t index) const {
    return index < block_->input_count() ? block_->input(static_cast<std::int16_t>(index))->type() : type_unknown;
}

type_t Bench::output_type(std::size_t index) const {
    return index < block_->output_count() ? block_->output(static_cast<std::int16_t>(index))->type() : type_unknown;
}

Bench& Bench::typed() {
    if (const result_t result = block_->calculate_type(); result != result_ok)
        throw std::runtime_error("calculate_type gives " + std::to_string(result));
    return *this;
}

Bench& Bench::forced(const std::vector<type_t>& types) {
    if (types.size() != block_->input_count() + block_->output_count())
        throw std::invalid_argument("as many types as ports are needed");
    auto type = types.begin();
    for (std::size_t i = 0; i < block_->input_count(); ++i)
        block_->input(static_cast<std::int16_t>(i))->set_type(*type++);
    for (std::size_t i = 0; i < block_->output_count(); ++i)
        block_->output(static_cast<std::int16_t>(i))->set_type(*type++);
    return *this;
}

Bench& Bench::forced_as(const signature_t& row) {
    return forced(std::vector<type_t>{row.types.begin(), row.types.begin() + row.inputs + row.outputs});
}

std::string Bench::code(const std::function<result_t(sys::File&)>& write) {
    std::string text = written([&](sys::File& file) { code_result_ = write(file); });
    if (code_result_ != result_ok && !text.empty())
        throw std::runtime_error("the writing of code gives " + std::to_string(code_result_));
    return text;
}

std::string Bench::struct_c() {
    return code([this](sys::File& file) { return block_->code_struct_c(file); });
}
std::string Bench::struct_py() {
    return code([this](sys::File& file) { return block_->code_struct_py(file); });
}
std::string Bench::init_c() {
    return code([this](sys::File& file) { return block_->code_init_c(file, prefix_c); });
}
std::string Bench::init_py() {
    return code([this](sys::File& file) { return block_->code_init_py(file, prefix_py); });
}
std::string Bench::step_c() {
    return code([this](sys::File& file) { return block_->code_step_c(file, prefix_c); });
}
std::string Bench::step_py() {
    return code([this](sys::File& file) { return block_->code_step_py(file, prefix_py); });
}

// ---- Runnable
Runnable::Runnable(std::unique_ptr<ExecBlock> exec) : exec_(std::move(exec)) {
    static constexpr bool enabled = true;
    if (exec_ != nullptr) exec_->set_enable(&enabled);
}

ExecBlock& Runnable::operator*() const {
    if (exec_ == nullptr) throw std::logic_error("the block has no runnable object");
    return *exec_;
}

Runnable& Runnable::set(std::size_t input, const value_t& v) {
    write((*this)->input(static_cast<std::int16_t>(input)), v);
    return *this;
}

Runnable& Runnable::start(double t) {
    (*this)->set_time(t);
    (*this)->start();
    return *this;
}

Runnable& Runnable::step(double t) {
    (*this)->set_time(t);
    (*this)->sample();
    (*this)->step();
    return *this;
}

Runnable& Runnable::step_lowered(const std::vector<value_t>& inputs, double t) {
    const lowering_t* lowered = (*this)->lowering();
    if (lowered == nullptr) throw std::logic_error("the object has no lowered form");
    if (lowered->inputs != inputs.size()) throw std::invalid_argument("the lowered form has other inputs");
    std::vector<const void*> operands;
    if (lowered->needs_object) operands.push_back(&**this);
    if (lowered->has_output) operands.push_back((*this)->output(0)->value_ptr());
    for (const value_t& v : inputs) operands.push_back(&v.bits);
    (*this)->set_time(t);
    if (lowered->run != nullptr) lowered->run(operands.data(), 1, t);
    return *this;
}

value_t Runnable::read(ExecPort* port) {
    if (port == nullptr) throw std::out_of_range("no such port");
    value_t v{port->type(), 0};
    std::memcpy(&v.bits, port->value_ptr(), size_of(v.type));
    return v;
}

void Runnable::write(ExecPort* port, const value_t& v) {
    if (port == nullptr) throw std::out_of_range("no such port");
    check_type(v, port->type());
    std::memcpy(port->value_ptr(), &v.bits, size_of(v.type));
}

void Runnable::check_type(const value_t& v, type_t type) {
    if (v.type != type)
        throw std::invalid_argument("the types " + std::to_string(v.type) + " and " + std::to_string(type) + " differ");
}

// ---- texts and tables
std::string written(const std::function<void(sys::File&)>& write) {
    static std::atomic<unsigned> counter{0};
    const auto path = std::filesystem::temp_directory_path() /
                      ("blocks_text_" + std::to_string(::getpid()) + "_" + std::to_string(counter++));
    {
        sys::File file(path, sys::file_create);
        write(file);
        file.close();
    }
    std::ifstream in(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(in), {}};
    in.close();
    std::filesystem::remove(path);
    return text;
}

signatures_t accepted(const char* class_name) {
    const class_row_t* row = factory::find_class(class_hash_of(class_name));
    if (row == nullptr) throw std::invalid_argument(std::string("no class ") + class_name);
    return row->entry->accepted;
}

}  // namespace tessel::test
