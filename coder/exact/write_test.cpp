// The values of a run as a test of the program.

#include "coder/exact/columns.h"
#include "coder/exact/project.h"
#include "core/format.h"
#include "core/str.h"

namespace tessel::exact {
namespace {

constexpr std::string_view text_of_test = R"(@banner@
/* The first steps of a run of the model, beside the program. Exit status 0 where all values are equal, bit for bit; one
 * not-a-number is as good as another. With --size it tells how large the structure is. */
#include "@N@.h"

@math@#include <stddef.h>
#include <stdio.h>
#include <string.h>

/* Values are compared behind each `stride` steps. */
enum { steps = @steps@, stride = @stride@, compared = @compared@ };

@values@typedef enum { of_integer, of_float, of_double } kind_t;

static unsigned differences;

static int is_nan(kind_t kind, const void *value)
{
    if (kind == of_float) {
        return *(const float *)value != *(const float *)value;
    }
    return kind == of_double && *(const double *)value != *(const double *)value;
}

static void check(const char *path, int step, kind_t kind, const void *value, const void *expected, size_t size)
{
    if (memcmp(value, expected, size) == 0 || (is_nan(kind, value) && is_nan(kind, expected))) {
        return;
    }
    differences++;
    if (differences <= 10u) {
        printf("step %d: %s differs", step, path);
        if (kind == of_double) {
            printf(": %.17g, and %.17g in the run", *(const double *)value, *(const double *)expected);
        } else if (kind == of_float) {
            printf(": %.9g, and %.9g in the run", (double)*(const float *)value, (double)*(const float *)expected);
        }
        printf("\n");
    }
}

static @N@_t model;

static void compare(int k)
{
    const int i = k / stride;
@check@}

int main(int argc, char **argv)
{
    int k;
    if (argc > 1 && strcmp(argv[1], "--size") == 0) {
        printf("sizeof(@N@_t) = %lu\n", (unsigned long)sizeof model);
        return 0;
    }
    @N@_init(&model);
    for (k = 0; k < steps; k++) {
@feed@        @N@_step(&model);
        if (k % stride == 0) {
            compare(k);
        }
    }
    printf("@N@: %d steps, %u differences\n", steps, differences);
    return differences == 0u ? 0 : 1;
}
)";

const char* kind_of(type_t type) {
    return type == type_flt64 ? "of_double" : type == type_flt32 ? "of_float" : "of_integer";
}

std::string array_text(const unit_t& unit, cell_number cell, const std::string& name, const char* room,
                       const std::vector<std::vector<std::uint64_t>>& steps, std::size_t column) {
    const type_t type = unit.cell(cell).type;
    std::string text = tessel::format("static const {} {}[{}] = {{", type_text(type), name, room), line = "\n   ";
    for (std::size_t k = 0; k < steps.size(); ++k) {
        const std::string value = " " + constant_text(type, steps[k][column]) + (k + 1 < steps.size() ? "," : "");
        if (line.size() + value.size() > 110) {
            text += line;
            line = "\n   ";
        }
        line += value;
    }
    return text + line + "\n};\n";
}

}  // namespace

text_file_t write_test(const unit_t& unit, const golden_t& golden) {
    std::map<cell_number, std::string> names;
    for (const column_t& column : signal_columns(unit)) names.emplace(column.cell, column.name);
    std::string values, feed, check;
    for (std::size_t i = 0; i < golden.inputs.size(); ++i) {
        const std::string name = tessel::format("input_{}", i);
        values += array_text(unit, golden.inputs[i], name, "steps", golden.fed, i);
        feed += tessel::format("        model.{} = {}[k];\n", unit.cell(golden.inputs[i]).access, name);
    }
    for (std::size_t i = 0; i < golden.checked.size(); ++i) {
        const cell_t& cell = unit.cell(golden.checked[i]);
        const std::string name = tessel::format("expected_{}", i);
        values += array_text(unit, golden.checked[i], name, "compared", golden.expected, i);
        check += tessel::format("    check(\"{}\", k, {}, &model.{}, &{}[i], sizeof {}[i]);\n",
                                names[golden.checked[i]], kind_of(cell.type), cell.access, name, name);
    }
    std::string text(text_of_test);
    const bool math = values.find("NAN") != std::string::npos || values.find("INFINITY") != std::string::npos;
    str::replace_all(text, "@math@", math ? "#include <math.h>\n" : "");
    if (golden.checked.empty()) check = "    (void)i;\n    (void)check; /* nothing of the model can be seen */\n";
    str::replace_all(text, "@steps@", tessel::format("{}", golden.steps));
    str::replace_all(text, "@stride@", tessel::format("{}", golden.stride));
    str::replace_all(text, "@compared@", tessel::format("{}", golden.expected.size()));
    str::replace_all(text, "@feed@", feed);
    str::replace_all(text, "@check@", check);
    str::replace_all(text, "@values@", values + (values.empty() ? "" : "\n"));
    str::replace_all(text, "@banner@\n", banner_of(unit));
    str::replace_all(text, "@N@", unit.name);
    return {unit.name + "_test.c", text};
}

}  // namespace tessel::exact
