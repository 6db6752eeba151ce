#!/bin/sh
# clang-format and clang-tidy over the sources; the latter needs the compile commands of a build.
set -eu
git ls-files '*.cpp' '*.h' '*.inl' '*.c' | xargs clang-format --dry-run -Werror
[ -f build/dev/compile_commands.json ] || cmake --preset dev > /dev/null
git ls-files 'core/*.cpp' 'framework/*.cpp' 'model/*.cpp' 'exec/*.cpp' 'files/*.cpp' 'coder/*.cpp' 'host/**/*.cpp' |
    grep -v 'ports_[23]' | xargs clang-tidy --quiet -p build/dev
