#include "tests/exact/program.h"

#include <dlfcn.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include "coder/exact/write_c.h"
#include "core/format.h"
#include "tests/support/shell.h"

namespace tessel::test {

Library::Library(const std::filesystem::path& folder, const std::vector<const exact::unit_t*>& units,
                 const std::string& compiler) {
    const auto put = [&](const exact::text_file_t& file) {
        std::ofstream(folder / file.name) << file.text;
        return tessel::format("#include \"{}\"\n", file.name);
    };
    std::string all;
    for (const exact::unit_t* unit : units) {
        put(exact::write_header(*unit));
        all += put(exact::write_source(*unit));
        all += put(exact::write_symbols(*unit));
    }
    const auto source = folder / "all.c", library = folder / "all.so";
    std::ofstream(source) << all;
    const outcome_t made = shell(tessel::format("{} {} -fPIC -shared -o {} {} -lm", compiler, exact::compiler_flags,
                                                library.string(), source.string()));
    if (made.status != 0) throw std::runtime_error(made.text);
    handle_ = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ == nullptr) throw std::runtime_error(dlerror());
}

Library::~Library() {
    if (handle_ != nullptr) dlclose(handle_);
}

void* Library::symbol(const std::string& name) const {
    void* const found = dlsym(handle_, name.c_str());
    if (found == nullptr) throw std::runtime_error("no symbol " + name);
    return found;
}

Program::Program(const Library& library, const exact::unit_t& unit) : unit_(unit) {
    struct symbol_t {
        const char *access, *path;
        std::int32_t port;
        const char *role, *type;
        std::uint64_t offset, size;
    };
    const auto* symbols = static_cast<const symbol_t*>(library.symbol(unit.name + "_symbols"));
    const auto count = *static_cast<const std::uint32_t*>(library.symbol(unit.name + "_symbol_count"));
    std::uint64_t size = 16;
    for (const symbol_t* symbol = symbols; symbol != symbols + count; ++symbol) {
        places_[symbol->access] = {symbol->offset, symbol->size};
        size = std::max(size, symbol->offset + symbol->size);
    }
    memory_.assign(size / 8 + 4, 0xA5A5A5A5A5A5A5A5u);  // what nothing initialises shows
    reinterpret_cast<void (*)(void*)>(library.symbol(unit.name + "_init"))(memory_.data());
    step_ = reinterpret_cast<void (*)(void*)>(library.symbol(unit.name + "_step"));
}

const Program::place_t& Program::place(exact::cell_number cell) const { return places_.at(unit_.cell(cell).access); }

double Program::time() const {
    double t;
    std::memcpy(&t, memory_.data(), sizeof t);
    return t;
}

void Program::set_time(double t) { std::memcpy(memory_.data(), &t, sizeof t); }

std::uint64_t Program::get(exact::cell_number cell) const {
    const place_t& at = place(cell);
    std::uint64_t bits = 0;
    std::memcpy(&bits, reinterpret_cast<const char*>(memory_.data()) + at.offset, at.size);
    return bits;
}

void Program::set(exact::cell_number cell, std::uint64_t bits) {
    const place_t& at = place(cell);
    std::memcpy(reinterpret_cast<char*>(memory_.data()) + at.offset, &bits, at.size);
}

bool same(type_t type, std::uint64_t a, std::uint64_t b) {
    if (a == b) return true;
    if (type == type_flt64) return std::isnan(from_bits<double>(a)) && std::isnan(from_bits<double>(b));
    return type == type_flt32 && std::isnan(from_bits<float>(a)) && std::isnan(from_bits<float>(b));
}

}  // namespace tessel::test
