#!/usr/bin/env bash
# Installs what the project needs, builds everything and runs the whole test suite.
#   scripts/test.sh              the normal build, in build/
#   scripts/test.sh --sanitize   everything built with AddressSanitizer and UBSan, in build-asan/
#   scripts/test.sh --tsan       the tests of sessions on threads under ThreadSanitizer, in build-tsan/
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh

build_dir=build
options=()
targets=()
tests=()
case "${1:-}" in
  --sanitize)
    build_dir=build-asan
    options=(-DDD_SANITIZE=ON -DDD_BUILD_BENCH=OFF) ;;
  --tsan)
    # Only what the threads test needs: the rest of the suite runs single-threaded.
    build_dir=build-tsan
    options=(-DDD_SANITIZE=thread -DDD_BUILD_BENCH=OFF)
    targets=(--target sessions_on_threads_test ddpi_engine)
    tests=(-L threads) ;;
esac

cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo "${options[@]}"
cmake --build "$build_dir" -j2 "${targets[@]}"
ctest --test-dir "$build_dir" --output-on-failure -j2 --timeout 900 "${tests[@]}"
