#!/usr/bin/env bash
# Installs what the project needs, builds everything and runs the whole test suite.
#   scripts/test.sh              the normal build, in build/
#   scripts/test.sh --sanitize   everything built with AddressSanitizer and UBSan, in build-asan/
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh

build_dir=build
options=()
if [ "${1:-}" = "--sanitize" ]; then
  build_dir=build-asan
  options=(-DDD_SANITIZE=ON -DDD_BUILD_BENCH=OFF)
fi

cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo "${options[@]}"
cmake --build "$build_dir" -j2
ctest --test-dir "$build_dir" --output-on-failure -j2 --timeout 900
