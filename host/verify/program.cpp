#include "host/verify/program.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <set>
#include <sstream>
#include <stdexcept>

#include "coder/exact/write_c.h"
#include "core/format.h"
#include "host/session/error.h"
#include "host/toolchain/process.h"
#include "host/verify/texts.h"

namespace zarn::verify {
namespace {

using words_t = std::vector<std::string>;

using tessel::exact::compiler_flags;

words_t operator+(words_t a, const words_t& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

words_t split(const std::string& text) {
    words_t words;
    std::istringstream stream(text);
    for (std::string word; stream >> word;) words.push_back(word);
    return words;
}

constexpr std::size_t most_statements = 10000;  // for a compiler that optimizes

std::vector<build_t> make_builds() {
    std::vector<build_t> all;
    for (const char* compiler : {"gcc", "clang"})
        for (const char* level : {"-O0", "-O2", "-O3"})
            all.push_back({tessel::format("{} {}", compiler, level), "c", {compiler, "-std=c99", level}});
    all.push_back({"tcc", "c", {"tcc", "-std=c99"}});
    for (const char* compiler : {"g++", "clang++"})
        all.push_back({tessel::format("{} -O2", compiler), "c++", {compiler, "-std=c++17", "-O2"}, true});
    const words_t checks{"-O1", "-g", "-fsanitize=address,undefined", "-fno-sanitize-recover=all"};
    all.push_back({"gcc, sanitizers", "sanitizers", words_t{"gcc", "-std=c99"} + checks});
    // these checks are clang's alone
    all.push_back(
        {"clang, sanitizers", "sanitizers",
         words_t{"clang", "-std=c99"} + checks + words_t{"-fsanitize=float-cast-overflow,implicit-conversion"}});
    const auto hosted = [&all](const char* name, const char* triplet, const char* emulator, words_t more = {}) {
        for (const char* level : {"-O0", "-O2"})
            all.push_back({tessel::format("{} {}", name, level),
                           name,
                           words_t{tessel::format("{}-gcc", triplet), "-std=c99", level, "-static"} + more,
                           false,
                           {emulator}});
    };
    hosted("aarch64", "aarch64-linux-gnu", "qemu-aarch64");
    hosted("riscv64", "riscv64-linux-gnu", "qemu-riscv64");
    // its compilers compute floats of 32 bits in 64 where they keep to the letter of C99
    hosted("s390x", "s390x-linux-gnu", "qemu-s390x", {"-fexcess-precision=fast"});
    hosted("armhf", "arm-linux-gnueabihf", "qemu-arm");
    const auto bare = [&all](const char* name, const char* options, const char* board) {
        all.push_back({tessel::format("{} -O2", name),
                       name,
                       words_t{"arm-none-eabi-gcc", "-std=c99", "-O2", "-mthumb"} + split(options) +
                           words_t{"--specs=rdimon.specs", "-Tbare.ld", "bare.c"},
                       false,
                       {"qemu-system-arm", "-M", board, "-nographic", "-monitor", "none", "-serial", "none"},
                       true});
    };
    bare("cortex-m7", "-mcpu=cortex-m7 -mfloat-abi=hard -mfpu=fpv5-d16", "mps2-an500");
    bare("cortex-m3", "-mcpu=cortex-m3", "mps2-an385");
    return all;
}

/// Lines of one letter and 16 hexadecimal digits, as program/look.h prints them.
seen_t parse(const std::string& text, std::size_t ports) {
    seen_t seen;
    trace_begin(&seen.trace);
    bool complete = false;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        begin = end + 1;
        if (line.size() < 3) continue;
        const std::uint64_t bits = std::strtoull(line.c_str() + 2, nullptr, 16);
        switch (line[0]) {
            case 'v': seen.values.push_back(bits); break;
            case 'f': seen.folds.push_back(bits); break;
            case 'p':
                if (seen.trace.count < TRACE_POINTS) seen.trace.points[seen.trace.count++] = bits;
                break;
            case 'e': seen.final.push_back(bits); break;
            case 't': seen.trace.fold = bits; break;
            case 'd': seen.trace.stride = bits; break;
            case 's':
                seen.trace.steps = bits;
                complete = true;
                break;
            default: break;
        }
    }
    if (!complete || seen.final.size() != ports) throw std::runtime_error("it printed no complete trace");
    return seen;
}

/// What a failed program said, shortened.
std::string told_by(const outcome_t& outcome, std::string_view what) {
    constexpr std::size_t most = 1000;
    std::string said = outcome.said.empty() ? outcome.out : outcome.said;
    if (said.size() > most) said = said.substr(0, most) + " ...";
    while (!said.empty() && said.back() == '\n') said.pop_back();
    return tessel::format("{} ended with status {}{}{}", what, outcome.status, said.empty() ? "" : ": ", said);
}

class Program final : public Way {
public:
    Program(const ProgramText& text, const build_t& build, std::function<bool()> interrupted)
        : text_(text), build_(build), interrupted_(std::move(interrupted)) {}
    std::string name() const override { return build_.name; }
    const std::vector<watched_t>& ports() const override { return text_.ports(); }
    seen_t run(const look_t& look) override {
        if (file_.empty()) compile();
        return parse(start(look), ports().size());
    }

private:
    void require(const std::string& program) const {
        if (!find_program(program)) throw Skipped(tessel::format("{} is not installed", program));
    }
    outcome_t call(const words_t& words) const {
        const outcome_t outcome = run_program(words, text_.folder(), interrupted_);
        if (interrupted_ && interrupted_()) throw SessionError(problem_t::interrupted, "interrupted");
        return outcome;
    }
    void compile();
    std::string start(const look_t& look) const;

    const ProgramText& text_;
    const build_t& build_;
    std::function<bool()> interrupted_;
    std::string file_;
};

void Program::compile() {
    require(build_.compiler.front());
    if (!build_.runner.empty()) require(build_.runner.front());
    const bool is_quick = build_.compiler.front() == "tcc" || std::ranges::count(build_.compiler, "-O0") != 0;
    if (!is_quick && text_.statements() > most_statements)
        throw Skipped(tessel::format("{} statements in one function take it minutes", text_.statements()));
    std::string file = "./" + build_.name + ".run";
    std::ranges::replace(file, ' ', '_');
    // look.h stands around the text, so that one compilation sees both, as two objects would have them
    words_t words = build_.compiler + split(compiler_flags);
    if (build_.as_cpp) words = words + words_t{"-x", "c++"};
    words = words + words_t{"-o", file, "look.c", text_.name() + ".c"};
    if (!build_.bare || !build_.as_cpp) words.push_back("-lm");
    const outcome_t outcome = call(words);
    if (!outcome.is_good()) throw std::runtime_error(told_by(outcome, build_.compiler.front()));
    file_ = file;
}

std::string Program::start(const look_t& look) const {
    const words_t wishes{std::to_string(look.steps), std::to_string(look.first), std::to_string(look.behind),
                         std::to_string(look.at)};
    words_t words = build_.runner;
    if (build_.bare) {
        std::string arguments = "enable=on,target=native,arg=run";
        for (const std::string& wish : wishes) arguments += ",arg=" + wish;
        words = words + words_t{"-semihosting-config", arguments, "-kernel", file_};
    } else {
        words = words + words_t{file_} + wishes;
    }
    const outcome_t outcome = call(words);
    if (!outcome.is_good()) throw std::runtime_error(told_by(outcome, "the program"));
    return outcome.out;
}

}  // namespace

const std::vector<build_t>& builds() {
    static const std::vector<build_t> all = make_builds();
    return all;
}

std::vector<std::string> target_names() {
    std::vector<std::string> names;
    for (const build_t& build : builds())
        if (!build.runner.empty() && (names.empty() || names.back() != build.group)) names.push_back(build.group);
    return names;
}

ProgramText::ProgramText(const tessel::exact::unit_t& unit, const std::vector<std::uint64_t>& inputs,
                         const std::unordered_set<std::uint64_t>& left_out)
    : name_(unit.name), statements_(unit.statements.size()) {
    for (const auto& file : tessel::exact::write_c(unit)) folder_.write(file.name, file.text);
    folder_.write("trace.h", tessel::texts::program::trace_h);
    folder_.write("look.h", tessel::texts::program::look_h);
    folder_.write("bare.c", tessel::texts::program::bare_c);
    folder_.write("bare.ld", tessel::texts::program::bare_ld);
    folder_.write("look.c", main_text(unit, inputs, left_out));
}

std::string ProgramText::main_text(const tessel::exact::unit_t& unit, const std::vector<std::uint64_t>& inputs,
                                   const std::unordered_set<std::uint64_t>& left_out) {
    std::string rows, fed;
    for (const auto& port : unit.ports) {
        if (port.cell == tessel::exact::no_cell || left_out.contains(port.block)) continue;
        const auto& cell = unit.cell(port.cell);
        if (!cell.kept) continue;
        const bool is_float = cell.type == tessel::type_flt32 || cell.type == tessel::type_flt64;
        rows += tessel::format("    {{offsetof({}_t, {}), {}, {}}},\n", unit.name, cell.access,
                               tessel::size_of(cell.type), is_float ? 1 : 0);
        ports_.push_back({port.path, "", port.block, port.port, port.is_input, cell.type});
    }
    for (const std::uint64_t id : inputs)
        for (const auto& cell : unit.cells)
            if (cell.role == tessel::exact::role_t::input && cell.block == id)
                fed += tessel::format("    offsetof({}_t, {}),\n", unit.name, cell.access);
    const auto count = [](const std::string& lines) { return std::ranges::count(lines, '\n'); };
    return tessel::format(
        "#include <stddef.h>\n#include \"{0}.h\"\n#include \"trace.h\"\n"
        "#define MODEL {0}_t\n#define MODEL_INIT {0}_init\n#define MODEL_STEP {0}_step\n#define MODEL_END {1}\n"
        "#define PORTS {2}u\n#define INPUTS {3}u\n"
        "static const trace_port_t trace_ports[] = {{\n{4}    {{0, 0, 0}}}};\n"
        "static const uint64_t trace_inputs[] = {{\n{5}    0}};\n#include \"look.h\"\n",
        unit.name, tessel::exact::constant_text(tessel::type_flt64, tessel::bits_of(unit.tf)), count(rows), count(fed),
        rows, fed);
}

std::unique_ptr<Way> program_way(const ProgramText& text, const build_t& build, std::function<bool()> interrupted) {
    return std::make_unique<Program>(text, build, std::move(interrupted));
}

}  // namespace zarn::verify
