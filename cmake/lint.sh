#!/bin/sh
# lint.sh [FOLDER...]: fails when sources are not laid out as `make format` leaves them, or when clang-tidy
# finds something in those of the folders (engine, when none is given: the tools take minutes). Tests are left
# out. Configures build-lint for the compiler's options, and builds nothing there, so no header is
# precompiled: what a source forgets to include is missing here.
set -eu
cd "$(dirname "$0")/.."
[ $# -gt 0 ] || set -- engine

git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror

mkdir -p build-lint
cmake -S . -B build-lint -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON \
    >build-lint/configure.log ||
    { cat build-lint/configure.log; exit 1; }
for folder; do git ls-files "$folder/*.cpp"; done | grep -v '_test\.cpp$\|/test/\|_main\.cpp$' |
    xargs -P "$(nproc)" -n 4 clang-tidy -p build-lint --quiet 2>build-lint/tidy.log
