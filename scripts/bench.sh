#!/usr/bin/env bash
# Builds the benchmarks and the engine, then runs them and prints their tables.
#   scripts/bench.sh [BUILD_DIR] [-- extra bench_encoder arguments, e.g. --seconds 20]
# BUILD_DIR defaults to build/. The encoder benchmark compares our engine with FFmpeg's AC-3
# and E-AC-3 encoders on a 60 s 5.1 programme (wall time, peak memory, SNR, noise-to-mask);
# the decoder benchmark decodes a 60 s 5.1 stream through the library and with FFmpeg.
set -euo pipefail
cd "$(dirname "$0")/.."

build_dir=build
if [ $# -gt 0 ] && [ "$1" != "--" ]; then
  build_dir=$1
  shift
fi
[ "${1:-}" = "--" ] && shift

if [ ! -f "$build_dir/CMakeCache.txt" ]; then
  cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DDD_BUILD_BENCH=ON
fi
cmake --build "$build_dir" -j2 --target ddpi_engine bench_encoder decoder_bench

echo "== encoder: ours vs FFmpeg =="
"$build_dir/bin/bench_encoder" --engine "$build_dir/lib/libddpi_engine.so" "$@"

echo "== decoder: the library vs FFmpeg =="
"$build_dir/bin/decoder_bench"
