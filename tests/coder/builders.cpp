#include "tests/coder/builders.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace tessel::test {
namespace {

constexpr const char* interpreter = "/usr/bin/python3";

std::string inside(const std::filesystem::path& folder, const std::string& command) {
    return "cd '" + folder.string() + "' && " + command;
}

std::string hex(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%a", value);
    return text;
}

values_t numbers(const std::string& text) {
    values_t values;
    const char* at = text.c_str();
    for (char* end = nullptr;; at = end) {
        const double value = std::strtod(at, &end);
        if (end == at) return values;
        values.push_back(value);
    }
}

/// Compiles and runs the C project with main.c or a program that includes it.
outcome_t run_whole_c(const std::filesystem::path& project, const std::string& main, const std::string& arguments) {
    std::ofstream(project / "columns.h") << "extern char *FILE_INPUT_TOKENS[1024];\n"
                                            "extern double FILE_OUTPUT_VALUES[1024];\n"
                                            "extern const char *FILE_OUTPUT_NAMES[1024];\n"
                                            "unsigned int find_token(char **, const char *);\n"
                                            "unsigned int push_token(const char **, const char *);\n";
    const outcome_t built =
        shell(inside(project, "cc -x c -std=gnu17 -w -include columns.h coder.c model.c " + main + " -lm -o whole"));
    EXPECT_EQ(built.status, 0) << built.text;
    return shell(inside(project, "./whole " + arguments));
}

}  // namespace

bool has_builders() { return has_program("cc") && has_program(interpreter); }

outcome_t compile_c(const std::filesystem::path& project) {
    return shell(
        inside(project, "cc -x c -std=gnu17 -w -fPIC -shared -DZARN_CODER_COMPILE coder.c model.c -o library.so"));
}

values_t run_c(const std::filesystem::path& project, const values_t& times) {
    std::ofstream driver(project / "driver.c");
    driver << "#include \"model.h\"\nint main(void)\n{\n    static model_t m;\n    init(&m);\n    const double times[] "
              "= {";
    for (const double t : times) driver << hex(t) << ", ";
    driver << "};\n    double last = times[0];\n"
              "    for (unsigned i = 0; i < sizeof times / sizeof *times; ++i)\n    {\n"
              "        m.time_step_sec = times[i] - last;\n"
              "        m.time_now_sec = last = times[i];\n        step(&m);\n"
              "        printf(\"%.17g\\n\", (double) m.Blk_42.port0);\n    }\n    return 0;\n}\n";
    driver.close();
    const outcome_t built =
        shell(inside(project, "cc -x c -std=gnu17 -w -ffp-contract=off coder.c model.c driver.c -lm -o driver"));
    EXPECT_EQ(built.status, 0) << built.text;
    const outcome_t ran = shell(inside(project, "./driver"));
    EXPECT_EQ(ran.status, 0) << ran.text;
    return numbers(ran.text);
}

outcome_t run_main_c(const std::filesystem::path& project, const std::string& arguments) {
    return run_whole_c(project, "main.c", arguments);
}

outcome_t run_body_c(const std::filesystem::path& project, const std::string& body) {
    std::ofstream(project / "body.c") << "#define main generated_main\n#include \"main.c\"\n#undef main\n"
                                         "int main(void)\n{\n"
                                      << body << "    return 0;\n}\n";
    return run_whole_c(project, "body.c", "");
}

outcome_t parse_py(const std::filesystem::path& project) {
    return run_script(project, "-c \"import ast; ast.parse(open('model.py').read())\"");
}

outcome_t try_py(const std::filesystem::path& project, const values_t& times) {
    std::ofstream driver(project / "driver.py");
    driver << "import model\nm = model.model_t()\nlast = None\nfor t in [";
    for (const double t : times) driver << "float.fromhex('" << hex(t) << "'), ";
    driver << "]:\n    m.time_step_sec = 0.0 if last is None else t - last\n    m.time_now_sec = last = t\n"
              "    m.step()\n    if hasattr(m, 'Blk_42'): print(repr(float(m.Blk_42.port0)))\n";
    driver.close();
    return run_script(project, "driver.py");
}

values_t run_py(const std::filesystem::path& project, const values_t& times) {
    const outcome_t ran = try_py(project, times);
    EXPECT_EQ(ran.status, 0) << ran.text;
    return numbers(ran.text);
}

outcome_t run_script(const std::filesystem::path& project, const std::string& command_line) {
    return shell(inside(project, std::string(interpreter) + " -B " + command_line));
}

}  // namespace tessel::test
