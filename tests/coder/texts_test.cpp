// The fixed texts of generated projects, against a second copy: projects that users have built upon depend on each
// byte.
#include <gtest/gtest.h>

#include "coder/texts.h"

namespace tessel {
namespace {

struct expected_t {
    const char* name;
    std::string_view text;
    std::size_t size;
    std::string_view expected;
};

class FixedText : public testing::TestWithParam<expected_t> {};

TEST_P(FixedText, IsByteForByteAsExpected) {
    EXPECT_EQ(GetParam().text.size(), GetParam().size);
    EXPECT_EQ(GetParam().text, GetParam().expected);
}

const expected_t all[] = {
    {"c_CMakeLists_txt", texts::c::CMakeLists_txt, 859, R"text(
cmake_minimum_required(VERSION 3.0)

project(ZARN-CODER LANGUAGES C)

# Model library
add_library(model SHARED
    coder.c
    model.c
)

# Model executer
add_executable(executer
    main.c
)

target_compile_definitions(model PRIVATE ZARN_CODER_COMPILE)

if (MSVC)
    message("Using Microsoft Visual C++ compiler.")

    set(CMAKE_C_FLAGS_RELEASE "/EHsc /MP /bigobj /O2 /GL -DNDEBUG")

    target_compile_definitions(model PRIVATE _CRT_SECURE_NO_WARNINGS)
    target_compile_definitions(executer PRIVATE _CRT_SECURE_NO_WARNINGS)

    target_link_libraries(executer PRIVATE model)
elseif (CMAKE_CXX_COMPILER_ID STREQUAL "GCC")
    message("Using GCC compiler.")

    set(CMAKE_C_FLAGS_RELEASE "-O2 -DNDEBUG")

    target_link_libraries(model PRIVATE m)

    target_link_libraries(executer PRIVATE model)
    target_link_libraries(executer PRIVATE m)
endif()
)text"},
    {"c_model_h_head", texts::c::model_h_head, 35, R"text(
#pragma once

#include "coder.h"

)text"},
    {"c_model_h_tail", texts::c::model_h_tail, 195, R"text(
    double time_now_sec;
    double time_step_sec;
} model_t;

// initialize model for simulation
ZARN_API void init(model_t *p_model);

// simulation step
ZARN_API void step(model_t *p_model);
)text"},
    {"c_coder_h_head", texts::c::coder_h_head, 373, R"text(
#pragma once

#include <assert.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#ifndef __cplusplus
  #ifndef bool
    #define bool unsigned char
  #endif
#endif

#ifdef WIN32
  #ifdef ZARN_CODER_COMPILE
    #define ZARN_API __declspec(dllexport)
  #else
    #define ZARN_API __declspec(dllimport)
  #endif
#else
  #define ZARN_API
#endif

)text"},
    {"c_coder_h_interpolate1d", texts::c::coder_h_interpolate1d, 169, R"text(
// Performs linear interpolation on a 1-dimensional array of values.
double interpolate1d(double p_input, const double *p_bp, const double *p_out, unsigned int p_len);
)text"},
    {"c_coder_h_interpolate2d", texts::c::coder_h_interpolate2d, 532, R"text(
// The function finds the two values in the array p_bp that are closest to the input value, i.e.,
// the nearest breakpoints, and returns their indices in the array
void find_nearest_breakpoints(double p_input, const double *p_bp, unsigned int p_len, unsigned int *p_first, unsigned int *p_second);

// Performs linear interpolation on a 2-dimensional matrix of values.
double interpolate2d(double p_input1, double p_input2, const double *p_bp1, const double *p_bp2, const double *p_out, unsigned int p_len1, unsigned int p_len2);
)text"},
    {"c_model_c_init_head", texts::c::model_c_init_head, 138, R"text(
#include "coder.h"
#include "model.h"

void init(model_t *p_model)
{
    p_model->time_now_sec = 0.0;
    p_model->time_step_sec = 0.0;

)text"},
    {"c_model_c_step_head", texts::c::model_c_step_head, 31, R"text(
void step(model_t *p_model)
{
)text"},
    {"c_coder_c_include", texts::c::coder_c_include, 20, R"text(
#include "coder.h"
)text"},
    {"c_coder_c_interpolate1d", texts::c::coder_c_interpolate1d, 462, R"text(
double interpolate1d(double p_input, const double *p_bp, const double *p_out, unsigned int p_len)
{
    if (p_input <= p_bp[0])         return p_out[0];
    if (p_input >= p_bp[p_len - 1]) return p_out[p_len - 1];

    unsigned int index = 0;

    while ((index < p_len) && (p_bp[index] <= p_input))
    {
        ++index;
    }

    return (p_input - p_bp[index - 1]) / (p_bp[index] - p_bp[index - 1]) * (p_out[index] - p_out[index - 1]) + p_out[index - 1];
}
)text"},
    {"c_coder_c_interpolate2d", texts::c::coder_c_interpolate2d, 1707, R"text(
void find_nearest_breakpoints(double p_input, const double *p_bp, unsigned int p_len, unsigned int *p_first, unsigned int *p_second)
{
    if (p_input <= p_bp[0])
    {
        *p_first = 0;
        *p_second = 1;
    }
    else if (p_input >= p_bp[p_len - 1])
    {
        *p_first = p_len - 2;
        *p_second = p_len - 1;
    }
    else
    {
        *p_second = 0;

        // find the first bp not smaller than input
        while (p_bp[*p_second] <= p_input)
        {
           *p_second = *p_second + 1;
        }

        *p_first = *p_second - 1;
    }
}

double interpolate2d(double p_input1, double p_input2, const double *p_bp1, const double *p_bp2, const double *p_out, unsigned int p_len1, unsigned int p_len2)
{
    unsigned int first1 = 0;
    unsigned int second1 = 0;
    unsigned int first2 = 0;
    unsigned int second2 = 0;

    find_nearest_breakpoints(p_input1, p_bp1, p_len1, &first1, &second1);
    find_nearest_breakpoints(p_input2, p_bp2, p_len2, &first2, &second2);

    // compute the interpolation weights based on the distances to the nearest breakpoints
    const double w1 = (p_input1 - p_bp1[first1]) / (p_bp1[second1] - p_bp1[first1]);
    const double w2 = (p_input2 - p_bp2[first2]) / (p_bp2[second2] - p_bp2[first2]);

    // perform bilinear interpolation using the four nearest output values
    const double out1 = p_out[first1 * p_len2 + first2];
    const double out2 = p_out[first1 * p_len2 + second2];
    const double out3 = p_out[second1 * p_len2 + first2];
    const double out4 = p_out[second1 * p_len2 + second2];

    // compute the interpolated value
    return (1.0 - w1) * ((1.0 - w2) * out1 + w2 * out2) + w1 * ((1.0 - w2) * out3 + w2 * out4);
}
)text"},
    {"c_main_c_globals", texts::c::main_c_globals, 208, R"text(
#include "model.h"

FILE *FILE_INPUT = NULL;
FILE *FILE_OUTPUT = NULL;

char FILE_INPUT_BUFFER[2097151];
char *FILE_INPUT_TOKENS[1024];

double FILE_OUTPUT_VALUES[1024];
const char *FILE_OUTPUT_NAMES[1024];
)text"},
    {"c_main_c_tokenize", texts::c::main_c_tokenize, 543, R"text(
// Splits the string into tokens using the delimiter character
unsigned int tokenize(char *p_str, char p_delimiter, char** p_tokens)
{
    unsigned int index = 0;

    char *begin = p_str;
    char *end = p_str;

    while ((*end != 0) && (*end != '\n'))
    {
        if ((*end == p_delimiter))
        {
            p_tokens[index++] = begin;

            *end = 0;
            begin = ++end;
        }
        else ++end;
    }

    p_tokens[index] = begin;
    p_tokens[++index] = NULL;

    if (*end != 0) *end = 0;

    return index;
}
)text"},
    {"c_main_c_find_token", texts::c::main_c_find_token, 290, R"text(
// Return token's index
unsigned int find_token(char** p_tokens, const char *p_value)
{
    unsigned int index = 0;

    while (p_tokens[index])
    {
        if (strcmp(p_tokens[index], p_value) == 0)
        {
            return index;
        }

        ++index;
    }

    return 0;
}
)text"},
    {"c_main_c_push_token", texts::c::main_c_push_token, 284, R"text(
// Push value into the back of the tokens list
unsigned int push_token(const char** p_tokens, const char *p_value)
{
    unsigned int index = 0;

    // find first free slot
    while (p_tokens[index])
    {
        ++index;
    }

    p_tokens[index] = p_value;
    return index;
}
)text"},
    {"c_main_c_main", texts::c::main_c_main, 1810, R"text(
int main(int p_argc, char **p_argv)
{
   /**
    * INITIALIZATION
    */
    if (p_argc > 2)
    {
        FILE *FILE_INPUT = fopen(p_argv[1], "r");
        if (!FILE_INPUT) return -1;

        fgets(FILE_INPUT_BUFFER, sizeof(FILE_INPUT_BUFFER), FILE_INPUT);

        // tokenize header row
        tokenize(FILE_INPUT_BUFFER, '\t', FILE_INPUT_TOKENS);

        // initialize output array
        FILE_OUTPUT_NAMES[0] = NULL;
    }

    model_t model;
    init(&model);

   /**
    * EXECUTION
    */
    if (FILE_INPUT)
    {
        FILE_OUTPUT = fopen(p_argv[2], "w");
        if (!FILE_OUTPUT) return -1;

        // print header to output file
        fprintf(FILE_OUTPUT, "Time");

        for (unsigned int i = 0; FILE_OUTPUT_NAMES[i]; ++i)
        {
            fprintf(FILE_OUTPUT, "\t%s", FILE_OUTPUT_NAMES[i]);
        }

        fprintf(FILE_OUTPUT, "\n");

        // read input file
        while (fgets(FILE_INPUT_BUFFER, sizeof(FILE_INPUT_BUFFER), FILE_INPUT))
        {
            // tokenize
            tokenize(FILE_INPUT_BUFFER, '\t', FILE_INPUT_TOKENS);

            // first column is 'time'
            const double time = strtod(FILE_INPUT_TOKENS[0], NULL);

            model.time_step_sec = model.time_now_sec - time;
            model.time_now_sec = time;

            // simulate
            step(&model);

            // print values to output file
            fprintf(FILE_OUTPUT, "%g", model.time_step_sec);

            for (unsigned int i = 0; FILE_OUTPUT_VALUES[i]; ++i)
            {
                fprintf(FILE_OUTPUT, "\t%g", FILE_OUTPUT_VALUES[i]);
            }

            fprintf(FILE_OUTPUT, "\n");
        }

        fclose(FILE_INPUT);

        fflush(FILE_OUTPUT);
        fclose(FILE_OUTPUT);
    }
    else
    {
        step(&model);
    }

    return 0;
}
)text"},
    {"py_model_py_head", texts::py::model_py_head, 38, R"text(
import math
import sys
import coder

)text"},
    {"py_model_py_model_head", texts::py::model_py_model_head, 102, R"text(
class model_t:
    def __init__(self):
        self.time_now_sec = 0
        self.time_step_sec = 0

)text"},
    {"py_model_py_step_head", texts::py::model_py_step_head, 21, R"text(
    def step(self):
)text"},
    {"py_coder_py_interpolate1d", texts::py::coder_py_interpolate1d, 342, R"text(
def interpolate1d(input, bp, out):
    index = 0;

    while (index < len(bp)) and (bp[index] <= input):
        index += 1

    if index == 0:
        return out[index]

    if index >= len(bp):
        return out[index - 1]

    return (input - bp[index - 1]) / (bp[index] - bp[index - 1]) * (out[index] - out[index - 1]) + out[index - 1]
)text"},
    {"py_coder_py_interpolate2d", texts::py::coder_py_interpolate2d, 1406, R"text(
def find_nearest_breakpoints(input, bp):
    if input <= bp[0]:
        return (0, 1)

    if input >= bp[-1]:
        return (len(bp) - 2, len(bp) - 1)

    index = 0

    # find the first bp not smaller than input
    while bp[index] <= input:
        index = index + 1

    return (index - 1, index)

def interpolate2d(input1, input2, bp1, bp2, out):
    # compute the interpolation weights based on the distances to the nearest breakpoints
    # weight for input 1
    if input1 <= bp1[0]:
        idx1 = (0, 0)
        w1 = 0.0
    elif input1 >= bp1[-1]:
        idx1 = (len(bp1) - 1, len(bp1) - 1)
        w1 = 1.0
    else:
        idx1 = find_nearest_breakpoints(input1, bp1)
        w1 = (input1 - bp1[idx1[0]]) / (bp1[idx1[1]] - bp1[idx1[0]])

    # weight for input 2
    if input2 <= bp2[0]:
        idx2 = (0, 0)
        w2 = 0.0
    elif input2 >= bp2[-1]:
        idx2 = (len(bp2) - 1, len(bp2) - 1)
        w2 = 1.0
    else:
        idx2 = find_nearest_breakpoints(input2, bp2)
        w2 = (input2 - bp2[idx2[0]]) / (bp2[idx2[1]] - bp2[idx2[0]])

    # perform bilinear interpolation using the four nearest output values
    out1 = out[idx1[0]][idx2[0]]
    out2 = out[idx1[0]][idx2[1]]
    out3 = out[idx1[1]][idx2[0]]
    out4 = out[idx1[1]][idx2[1]]

    # compute the interpolated value
    return (1.0 - w1) * ((1.0 - w2) * out1 + w2 * out2) + w1 * ((1.0 - w2) * out3 + w2 * out4)
)text"},
    {"py_main_py_first", texts::py::main_py_first, 791, R"text(
import model
import sys

# set both paths to read data from and write data to file.
# otherwise, only 1 step will be executed and all 'inports' will be considered as zero
path_input = ''
path_output = ''

# Check if correct number of command line arguments are provided
if len(sys.argv) == 3:
    path_input = sys.argv[1]
    path_output = sys.argv[2]

#
# INITIALIZATION
#
global buffer_input
global buffer_output
global header_input
global header_output

# internal usage. DO NOT MODIFY
header_input = ['']
header_output = ['Time']

# internal usage. DO NOT MODIFY
buffer_input = [0]
buffer_output = [0]

model = model.model_t()

if len(path_input) > 0:
    file_input = open(path_input, "r")
    file_output = open(path_output, "w")

    header_input = file_input.readline().split('\t')
)text"},
    {"py_main_py_second", texts::py::main_py_second, 794, R"text(
#
# EXECUTION
#
if len(path_input) == 0 or len(path_output) == 0:
    # if no path is provided, execute one step and return
    model.step()

    print('Simulation step executed sucessfully')
    exit()

file_output.write('\t'.join(header_output))
file_output.write('\n')

while True:
    line = file_input.readline()
    if not line:
        break

    buffer_input = file_input.readline().split('\t')
    buffer_output[0] = buffer_input[0]

    try:
        now = float(buffer_input[0])
    except:
        break

    model.time_step_sec = now - model.time_now_sec
    model.time_now_sec = now

    model.step()

    file_output.write('\t'.join(buffer_output))
    file_output.write('\n')

file_input.close()
file_output.flush()
file_output.close()

print('Simulation executed sucessfully')
)text"},
};

INSTANTIATE_TEST_SUITE_P(All, FixedText, testing::ValuesIn(all), [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace tessel
