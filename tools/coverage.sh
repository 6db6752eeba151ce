#!/bin/sh
# Lines and branches of core to coder that the suite reaches, by gcovr.
set -eu
command -v gcovr > /dev/null || { echo "coverage: install gcovr" >&2; exit 1; }
cmake --preset dev -B build/coverage -DCMAKE_CXX_FLAGS="--coverage -fprofile-abs-path" -DBLOCKS_BENCH=OFF > /dev/null
cmake --build build/coverage
ctest --test-dir build/coverage --output-on-failure
gcovr --root . --object-directory build/coverage --filter 'core/' --filter 'framework/' --filter 'model/' --filter 'exec/' \
    --filter 'blocks/' --filter 'files/' --filter 'coder/' --exclude-throw-branches --exclude-unreachable-branches
