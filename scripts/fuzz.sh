#!/usr/bin/env bash
# Builds the libFuzzer targets with clang, AddressSanitizer and UBSan in build-fuzz/, then
# runs each for SECONDS (default 60), one after another, and prints per target how many
# inputs it ran and what it found.
#   scripts/fuzz.sh [SECONDS [TARGET ...]]     all targets unless some are named
#   FUZZ_MAX_RUNS=N scripts/fuzz.sh ...         also stop a target once it ran N inputs
# Each target starts from the seeds the build makes (build-fuzz/fuzz-seeds/<target>), the
# corpus it grew before (build-fuzz/fuzz-corpus/<target>) and its saved regressions
# (fuzz/regressions/<target>), with its dictionary (fuzz/dictionaries/<target>.dict).
# Findings land in build-fuzz/fuzz-findings/<target>/<run>/; an input worth keeping goes into
# fuzz/regressions/<target>/ together with the fix, where fuzz_regression_test replays it.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
targets=(decoder_fuzzer decoder_chunks_fuzzer parameter_text_fuzzer wav_reader_fuzzer
         encode_command_fuzzer engine_setparams_fuzzer sound_file_fuzzer)
if [ $# -gt 1 ]; then
  shift
  targets=("$@")
fi
build=build-fuzz
run=$(date -u +%Y%m%dT%H%M%SZ)

CC=clang CXX=clang++ cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DDD_SANITIZE=ON -DDD_BUILD_FUZZERS=ON -DDD_BUILD_TESTS=OFF -DDD_BUILD_BENCH=OFF >/dev/null
cmake --build "$build" -j2 --target "${targets[@]}" >/dev/null

summary=()
found_any=0
for target in "${targets[@]}"; do
  corpus=$build/fuzz-corpus/$target
  findings=$build/fuzz-findings/$target/$run
  log=$build/fuzz-logs/$target.log
  mkdir -p "$corpus" "$findings" "$(dirname "$log")"
  inputs=("$corpus" "$build/fuzz-seeds/$target")
  [ -d "fuzz/regressions/$target" ] && inputs+=("fuzz/regressions/$target")
  echo "== $target: ${seconds}s"
  status=0
  # The Encode command reports on stderr for every input; keep the log to libFuzzer's own.
  extra=()
  [ "$target" = encode_command_fuzzer ] && extra=(-close_fd_mask=3)
  [ -n "${FUZZ_MAX_RUNS:-}" ] && extra+=(-runs="$FUZZ_MAX_RUNS")
  "$build/bin/$target" -max_total_time="$seconds" -timeout=30 -rss_limit_mb=2048 \
    -dict="fuzz/dictionaries/$target.dict" -artifact_prefix="$findings/" \
    -print_final_stats=1 "${extra[@]}" \
    "${inputs[@]}" >"$log" 2>&1 || status=$?
  executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  if [ -z "$executions" ]; then  # stopped by a finding before the final statistics
    executions=$(sed -n 's/^#\([0-9]*\).*/\1/p' "$log" | tail -n 1)
  fi
  count=$(find "$findings" -type f | wc -l)
  [ "$status" -ne 0 ] || [ "$count" -ne 0 ] && found_any=1
  summary+=("$(printf '%-26s %12s executions  %3d findings  (exit %d, log %s)' \
    "$target" "${executions:-?}" "$count" "$status" "$log")")
done

echo
printf '%s\n' "${summary[@]}"
exit $found_any
