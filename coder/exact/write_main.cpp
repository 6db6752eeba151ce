// The program around a program: reads its inputs from a table, runs it as long as the model runs, writes its signals.

#include "coder/exact/columns.h"
#include "coder/exact/write_c.h"
#include "core/format.h"
#include "core/str.h"

namespace tessel::exact {
namespace {

constexpr std::string_view text_of_main = R"(@banner@
/* @N@_main [IN.csv] > OUT.csv
 *
 * IN.csv has a column for each input, named in its first line, and a line for each step; what a line leaves empty, and
 * what has no column, stays as it was, and behind the last line all do. A column "time" is not read. OUT.csv has the
 * time and the signals of each step, written so that they read back exactly. */
#include "@N@.h"

#include <errno.h>
#include <inttypes.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef enum { of_bool, of_int8, of_uint8, of_int16, of_uint16, of_int32, of_uint32, of_int64, of_uint64, of_float,
               of_double } type_t;

typedef struct {
    const char *name;
    size_t offset;
    type_t type;
} column_t;

static const column_t inputs[] = {
@inputs@    {NULL, 0, of_bool}
};
static const column_t signals[] = {
@signals@    {NULL, 0, of_bool}
};

static const size_t sizes[] = {sizeof(bool), 1, 1, 2, 2, 4, 4, 8, 8, sizeof(float), sizeof(double)};

static const char *const words[] = {"bool", "int8", "uint8", "int16", "uint16", "int32", "uint32", "int64", "uint64",
                                    "float", "double"};

static @N@_t model;

/* ---- what is read */
typedef enum { is_good, is_no_number, is_beyond } answer_t;

static answer_t read_signed(const char *text, int bits, intmax_t *value)
{
    char *end = NULL;
    const intmax_t most = INTMAX_MAX >> (64 - bits);
    errno = 0;
    *value = strtoimax(text, &end, 10);
    if (end == text || *end != '\0') {
        return is_no_number;
    }
    return errno == ERANGE || *value > most || *value < -most - 1 ? is_beyond : is_good;
}

static answer_t read_unsigned(const char *text, int bits, uintmax_t *value)
{
    char *end = NULL;
    errno = 0;
    *value = strtoumax(text, &end, 10);
    if (end == text || *end != '\0') {
        return is_no_number;
    }
    /* a number with a sign would be taken for a huge one */
    return errno == ERANGE || *value > UINTMAX_MAX >> (64 - bits) || strchr(text, '-') != NULL ? is_beyond : is_good;
}

/* errno is set for numbers below the least as well, which are rounded as in any program */
static answer_t read_real(const char *text, int is_narrow, double *value)
{
    char *end = NULL;
    errno = 0;
    *value = is_narrow ? (double)strtof(text, &end) : strtod(text, &end);
    if (end == text || *end != '\0') {
        return is_no_number;
    }
    return errno == ERANGE && (*value > 1.0 || *value < -1.0) ? is_beyond : is_good;
}

static answer_t read_cell(const column_t *column, const char *text)
{
    union {
        bool b;
        int8_t i8;
        uint8_t u8;
        int16_t i16;
        uint16_t u16;
        int32_t i32;
        uint32_t u32;
        int64_t i64;
        uint64_t u64;
        float f;
        double d;
    } value;
    intmax_t whole = 0;
    uintmax_t natural = 0;
    double real = 0.0;
    answer_t answer;
    switch (column->type) {
        case of_bool: answer = read_real(text, 0, &real); value.b = real != 0.0; break;
        case of_int8: answer = read_signed(text, 8, &whole); value.i8 = (int8_t)whole; break;
        case of_uint8: answer = read_unsigned(text, 8, &natural); value.u8 = (uint8_t)natural; break;
        case of_int16: answer = read_signed(text, 16, &whole); value.i16 = (int16_t)whole; break;
        case of_uint16: answer = read_unsigned(text, 16, &natural); value.u16 = (uint16_t)natural; break;
        case of_int32: answer = read_signed(text, 32, &whole); value.i32 = (int32_t)whole; break;
        case of_uint32: answer = read_unsigned(text, 32, &natural); value.u32 = (uint32_t)natural; break;
        case of_int64: answer = read_signed(text, 64, &whole); value.i64 = (int64_t)whole; break;
        case of_uint64: answer = read_unsigned(text, 64, &natural); value.u64 = (uint64_t)natural; break;
        case of_float: answer = read_real(text, 1, &real); value.f = (float)real; break;
        default: answer = read_real(text, 0, &real); value.d = real; break;
    }
    if (answer == is_good) {
        memcpy((char *)&model + column->offset, &value, sizes[column->type]);
    }
    return answer;
}

static void *grown(void *old, size_t size)
{
    void *more = realloc(old, size);
    if (more == NULL) {
        fprintf(stderr, "@N@_main: not enough memory for a line\n");
        exit(1);
    }
    return more;
}

/* A line without its end; NULL behind the last one. */
static char *read_line(FILE *file)
{
    static char *line = NULL;
    static size_t room = 0;
    size_t length = 0;
    int c;
    while ((c = fgetc(file)) != EOF && c != '\n') {
        if (length + 2 > room) {
            room = room * 2 + 256;
            line = (char *)grown(line, room);
        }
        if (c != '\r') {
            line[length] = (char)c;
            length++;
        }
    }
    if (ferror(file)) {
        perror("@N@_main: the table");
        exit(2);
    }
    if (c == EOF && length == 0) {
        return NULL;
    }
    if (line == NULL) {
        room = 256;
        line = (char *)grown(line, room);
    }
    line[length] = '\0';
    return line;
}

/* The text up to the next comma, which `rest` is behind then. */
static char *next_cell(char **rest)
{
    char *cell = *rest;
    char *comma = strchr(cell, ',');
    *rest = comma != NULL ? comma + 1 : NULL;
    if (comma != NULL) {
        *comma = '\0';
    }
    return cell;
}

static const column_t *input_named(const char *name)
{
    const column_t *input;
    for (input = inputs; input->name != NULL; input++) {
        if (strcmp(input->name, name) == 0) {
            return input;
        }
    }
    return NULL;
}

/* Which input each column is; a column "time" is none. */
static const column_t **columns;
static size_t column_count;

static int read_names(FILE *file)
{
    char *rest = read_line(file);
    while (rest != NULL) {
        const char *name = next_cell(&rest);
        const column_t *input = input_named(name);
        if (input == NULL && strcmp(name, "time") != 0) {
            fprintf(stderr, "@N@_main: there is no input '%s'\n", name);
            return 0;
        }
        columns = (const column_t **)grown((void *)columns, (column_count + 1) * sizeof *columns);
        columns[column_count] = input;
        column_count++;
    }
    return 1;
}

static int read_values(FILE *file)
{
    char *rest = read_line(file);
    size_t i;
    for (i = 0; i < column_count && rest != NULL; i++) {
        const char *cell = next_cell(&rest);
        answer_t answer;
        if (columns[i] == NULL || *cell == '\0') {
            continue;
        }
        answer = read_cell(columns[i], cell);
        if (answer != is_good) {
            fprintf(stderr, "@N@_main: step %" PRIu64 ", %s: '%s' %s %s\n", model.tick, columns[i]->name, cell,
                    answer == is_beyond ? "does not fit into" : "is no number of", words[columns[i]->type]);
            return 0;
        }
    }
    if (rest != NULL) {
        fprintf(stderr, "@N@_main: step %" PRIu64 ": more cells than the first line has names\n", model.tick);
        return 0;
    }
    return 1;
}

/* ---- what is written */
static void write_real(double v, int digits)
{
    if (v != v) {
        printf(",nan");
    } else {
        printf(",%.*g", digits, v);
    }
}

static void write_cell(const column_t *column)
{
    const void *at = (const char *)&model + column->offset;
    switch (column->type) {
        case of_bool: printf(",%d", *(const bool *)at ? 1 : 0); break;
        case of_int8: printf(",%d", *(const int8_t *)at); break;
        case of_uint8: printf(",%d", *(const uint8_t *)at); break;
        case of_int16: printf(",%d", *(const int16_t *)at); break;
        case of_uint16: printf(",%d", *(const uint16_t *)at); break;
        case of_int32: printf(",%" PRId32, *(const int32_t *)at); break;
        case of_uint32: printf(",%" PRIu32, *(const uint32_t *)at); break;
        case of_int64: printf(",%" PRId64, *(const int64_t *)at); break;
        case of_uint64: printf(",%" PRIu64, *(const uint64_t *)at); break;
        case of_float: write_real((double)*(const float *)at, 9); break;
        default: write_real(*(const double *)at, 17); break;
    }
}

int main(int argc, char **argv)
{
    const column_t *signal;
    FILE *file = argc > 1 ? fopen(argv[1], "r") : NULL;
    if (argc > 1 && file == NULL) {
        perror(argv[1]);
        return 2;
    }
    @N@_init(&model);
    if (file != NULL && !read_names(file)) {
        return 2;
    }
    printf("time");
    for (signal = signals; signal->name != NULL; signal++) {
        printf(",%s", signal->name);
    }
    printf("\n");
    while (@tf@ >= model.time) {
        const double t = model.time;
        if (file != NULL && !read_values(file)) {
            return 2;
        }
        @N@_step(&model);
        printf("%.17g", t);
        for (signal = signals; signal->name != NULL; signal++) {
            write_cell(signal);
        }
        printf("\n");
    }
    if (file != NULL) {
        fclose(file);
    }
    free((void *)columns);
    return fflush(stdout) == 0 ? 0 : 1;
}
)";

const char* word_of(type_t type) {
    switch (type) {
        case type_bool: return "of_bool";
        case type_int8: return "of_int8";
        case type_uint8: return "of_uint8";
        case type_int16: return "of_int16";
        case type_uint16: return "of_uint16";
        case type_int32: return "of_int32";
        case type_uint32: return "of_uint32";
        case type_int64: return "of_int64";
        case type_uint64: return "of_uint64";
        case type_flt32: return "of_float";
        default: return "of_double";
    }
}

std::string row(const unit_t& unit, const std::string& name, cell_number cell) {
    return tessel::format("    {{\"{}\", offsetof({}_t, {}), {}}},\n", name, unit.name, unit.cell(cell).access,
                          word_of(unit.cell(cell).type));
}

}  // namespace

text_file_t write_main(const unit_t& unit) {
    std::string inputs, signals, text(text_of_main);
    for (const column_t& column : input_columns(unit)) inputs += row(unit, column.name, column.cell);
    for (const column_t& column : signal_columns(unit)) signals += row(unit, column.name, column.cell);
    str::replace_all(text, "@inputs@", inputs);
    str::replace_all(text, "@signals@", signals);
    str::replace_all(text, "@tf@", constant_text(type_flt64, bits_of(unit.tf)));
    str::replace_all(text, "@banner@\n", banner_of(unit));
    str::replace_all(text, "@N@", unit.name);
    return {unit.name + "_main.c", text};
}

}  // namespace tessel::exact
