#include "host/verify/fmu.h"

#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <unordered_map>
#include <utility>

#include "coder/fmu/archive.h"
#include "coder/fmu/platform.h"
#include "core/format.h"
#include "formula/formula.h"
#include "host/export/fmu.h"
#include "host/toolchain/temporary_folder.h"

namespace zarn::verify {
namespace {

namespace fmu = tessel::fmu;
using tessel::type_t;

/// What the instance has told last.
using said_t = std::string;

// the functions that importers hand over
void log_2(void* said, const char*, int, const char*, const char* form, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, form);
    static_cast<void>(std::vsnprintf(text, sizeof text, form, arguments));
    va_end(arguments);
    *static_cast<said_t*>(said) = text;
}
void log_3(void* said, int, const char*, const char* text) { *static_cast<said_t*>(said) = text; }
struct callbacks_2_t {
    void (*logger)(void*, const char*, int, const char*, const char*, ...);
    void *allocate, *free, *step_finished, *environment;
};

/// The type of version 3 that has its values.
const char* name_3(type_t type) {
    switch (type) {
        case tessel::type_bool: return "Boolean";
        case tessel::type_int8: return "Int8";
        case tessel::type_uint8: return "UInt8";
        case tessel::type_int16: return "Int16";
        case tessel::type_uint16: return "UInt16";
        case tessel::type_int32: return "Int32";
        case tessel::type_uint32: return "UInt32";
        case tessel::type_int64: return "Int64";
        case tessel::type_uint64: return "UInt64";
        case tessel::type_flt32: return "Float32";
        default: return "Float64";
    }
}
const char* name_2(type_t type) {
    if (type == tessel::type_bool) return "Boolean";
    return type == tessel::type_flt32 || type == tessel::type_flt64 ? "Real" : "Integer";
}

/// One instance in a library.
class Instance {
public:
    Instance(int version, const std::string& bytes) : version_(version) {
        folder_.write("library", bytes);
        library_ = dlopen((folder_.path() / "library").c_str(), RTLD_NOW | RTLD_LOCAL);
        if (library_ == nullptr) throw std::runtime_error(dlerror());
    }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;
    ~Instance() {
        if (handle_ != nullptr) find<void(void*)>("FreeInstance")(handle_);
        dlclose(library_);
    }

    void make(const std::string& token) {
        if (version_ == 2) {
            callbacks_ = {log_2, nullptr, nullptr, nullptr, &said_};
            using make_t = void*(const char*, int, const char*, const char*, const callbacks_2_t*, int, int);
            handle_ = find<make_t>("Instantiate")("verify", 1, token.c_str(), nullptr, &callbacks_, 0, 0);
        } else {
            using make_t = void*(const char*, const char*, const char*, bool, bool, bool, bool, const std::uint32_t*,
                                 std::size_t, void*, void (*)(void*, int, const char*, const char*), void*);
            handle_ = find<make_t>("InstantiateCoSimulation")("verify", token.c_str(), nullptr, false, false, false,
                                                              false, nullptr, 0, &said_, log_3, nullptr);
        }
        if (handle_ == nullptr) throw std::runtime_error(said_);
    }
    void begin(double start) {
        require(find<int(void*)>("Reset")(handle_));
        if (version_ == 2) {
            require(find<int(void*, int, double, double, int, double)>("SetupExperiment")(handle_, 0, 0, start, 0, 0));
            require(find<int(void*)>("EnterInitializationMode")(handle_));
        } else {
            require(find<int(void*, bool, double, double, bool, double)>("EnterInitializationMode")(handle_, false, 0,
                                                                                                    start, false, 0));
        }
    }
    void end_initialization() { require(find<int(void*)>("ExitInitializationMode")(handle_)); }
    void step(double point, double size) {
        if (version_ == 2) return require(find<int(void*, double, double, int)>("DoStep")(handle_, point, size, 1));
        bool event = false, end = false, early = false;
        double last = 0;
        require(find<int(void*, double, double, bool, bool*, bool*, bool*, double*)>("DoStep")(
            handle_, point, size, true, &event, &end, &early, &last));
    }

    /// A function by its type for `read` and `write`.
    void* accessor(const char* verb, type_t type) {
        return symbol(std::string(verb) + (version_ == 2 ? name_2(type) : name_3(type)));
    }
    void access(void* function, std::uint32_t reference, void* value) {
        if (version_ == 2)
            require(reinterpret_cast<int (*)(void*, const std::uint32_t*, std::size_t, void*)>(function)(
                handle_, &reference, 1, value));
        else
            require(reinterpret_cast<int (*)(void*, const std::uint32_t*, std::size_t, void*, std::size_t)>(function)(
                handle_, &reference, 1, value, 1));
    }

private:
    void* symbol(const std::string& name) {
        void* const found = dlsym(library_, tessel::format("fmi{}{}", version_, name).c_str());
        if (found == nullptr) throw std::runtime_error(dlerror());
        return found;
    }
    template <class F>
    F* find(const char* name) {
        return reinterpret_cast<F*>(symbol(name));
    }
    void require(int status) const {
        if (status != 0) throw std::runtime_error(said_);
    }

    int version_;
    TemporaryFolder folder_;
    void* library_ = nullptr;
    void* handle_ = nullptr;
    callbacks_2_t callbacks_{};
    said_t said_;
};

class Fmu final : public Way {
public:
    Fmu(Session& session, std::vector<std::uint64_t> fed, int version, std::function<bool()> interrupted)
        : session_(session), fed_(std::move(fed)), version_(version), interrupted_(std::move(interrupted)) {}
    std::string name() const override { return tessel::format("FMU {}", version_); }
    const std::vector<watched_t>& ports() const override { return ports_; }
    seen_t run(const look_t& look) override;

private:
    struct variable_t {
        std::uint32_t reference;
        type_t type;
        void* get;
    };

    void make();
    void note_ports(const tessel::exact::unit_t& unit, const fmu::interface_t& interface);
    void feed(std::uint64_t step);
    std::uint64_t bits(std::size_t port);

    Session& session_;
    std::vector<std::uint64_t> fed_;
    int version_;
    std::function<bool()> interrupted_;
    std::unique_ptr<Instance> instance_;
    std::vector<watched_t> ports_;
    std::vector<variable_t> variables_;  // of the ports
    std::vector<std::uint32_t> inputs_;
    double ti_ = 0, tf_ = 0, ts_ = 0;
};

void Fmu::make() {
    fmu_options_t how;
    how.program.name = "model";
    how.program.keep = "all";
    how.version = version_;
    how.all_signals = true;
    how.with_picture = false;
    how.generator = "zarn verify";
    how.interrupted = interrupted_;
    fmu_t made;
    try {
        made = fmu_of(session_, how);
    } catch (const SessionError& error) {
        if (error.kind() == problem_t::interrupted) throw;
        throw Skipped(error.what());
    }
    const auto version = version_ == 2 ? fmu::version_t::two : fmu::version_t::three;
    instance_ = std::make_unique<Instance>(
        version_, fmu::read_member(made.bytes, fmu::library_path(fmu::this_platform(), version, made.name)));
    instance_->make(made.token);
    note_ports(program_of(session_, how.program), made.interface);
}

void Fmu::note_ports(const tessel::exact::unit_t& unit, const fmu::interface_t& interface) {
    std::unordered_map<tessel::exact::cell_number, std::uint32_t> reference_of;
    for (std::uint32_t i = 0; i < interface.variables.size(); ++i)
        if (interface.variables[i].cell != tessel::exact::no_cell) reference_of.emplace(interface.variables[i].cell, i);
    for (const auto& port : unit.ports) {
        const auto found = reference_of.find(port.cell);
        if (found == reference_of.end()) continue;
        const type_t type = unit.cell(port.cell).type;
        ports_.push_back({port.path, "", port.block, port.port, port.is_input, type});
        variables_.push_back({found->second, type, instance_->accessor("Get", type)});
    }
    for (const std::uint64_t id : fed_)
        for (std::uint32_t i = 0; i < interface.variables.size(); ++i)
            if (interface.variables[i].causality == fmu::causality_t::input &&
                unit.cell(interface.variables[i].cell).block == id)
                inputs_.push_back(i);
    ti_ = unit.ti, tf_ = unit.tf, ts_ = unit.ts;
}

void Fmu::feed(std::uint64_t step) {
    void* const set = instance_->accessor("Set", tessel::type_flt64);
    for (std::uint32_t i = 0; i < inputs_.size(); ++i) {
        double value = trace_input(step, i);
        instance_->access(set, inputs_[i], &value);
    }
}

/// In version 2 values come in the wider types of the interface.
std::uint64_t Fmu::bits(std::size_t port) {
    const variable_t& variable = variables_[port];
    alignas(8) unsigned char value[8] = {};
    instance_->access(variable.get, variable.reference, value);
    const bool is_float = variable.type == tessel::type_flt32 || variable.type == tessel::type_flt64;
    if (version_ == 2)
        tessel::with_type(variable.type, [&]<class T>(T) {
            T narrow;
            double real = 0;
            int whole = 0;
            std::memcpy(&real, value, sizeof real);
            std::memcpy(&whole, value, sizeof whole);
            narrow = is_float ? static_cast<T>(real) : static_cast<T>(whole);
            std::memcpy(value, &narrow, sizeof narrow);
        });
    return trace_bits(value, static_cast<std::uint32_t>(tessel::size_of(variable.type)), is_float);
}

seen_t Fmu::run(const look_t& look) {
    if (instance_ == nullptr) make();
    Watcher watcher(look);
    seen_t& seen = watcher.seen();
    instance_->begin(ti_);
    double time = ti_;   // as a run counts it
    double point = ti_;  // as the instance does
    while (tf_ >= time && seen.trace.steps < look.steps) {
        feed(seen.trace.steps);
        if (seen.trace.steps == 0) {
            instance_->end_initialization();
        } else {
            instance_->step(point, ts_);
            point += ts_;
        }
        watcher.step(time, ports_.size(), [&](std::size_t i) { return bits(i); });
        time += ts_;
        if (seen.trace.steps % 256 == 0 && interrupted_ && interrupted_())
            throw SessionError(problem_t::interrupted, "interrupted");
    }
    for (std::size_t i = 0; seen.trace.steps > 0 && i < ports_.size(); ++i) seen.final.push_back(bits(i));
    return std::move(seen);
}

}  // namespace

std::unique_ptr<Way> fmu_way(Session& session, std::vector<std::uint64_t> fed, int version,
                             std::function<bool()> interrupted) {
    return std::make_unique<Fmu>(session, std::move(fed), version, std::move(interrupted));
}

}  // namespace zarn::verify
