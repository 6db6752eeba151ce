#!/bin/sh
# clang-format and clang-tidy over the sources; the latter needs the compile commands of a build.
#   tools/tidy.sh [FOLDER...]        by default all
set -eu
cd "$(dirname "$0")/.."
[ $# -gt 0 ] || set -- core framework model exec blocks files coder host tests bench
git ls-files '*.cpp' '*.h' '*.inl' '*.c' ':!tests/golden' ':!tests/data' | xargs clang-format --dry-run -Werror
cmake --preset dev > /dev/null
# sources that CMake writes, such as those of embedded texts, are no matter of style
for folder in "$@"; do git ls-files "$folder/*.cpp"; done | grep -v 'tests/install' | xargs grep -L BLOCKS_SLICE |
    xargs -n 1 -P "${JOBS:-$(nproc)}" clang-tidy --quiet -p build/dev --extra-arg=-fconstexpr-steps=16777216 2>&1 |
    { ! grep -v -e 'warnings generated' -e '^Suppressed' -e '^Use -header-filter'; }
