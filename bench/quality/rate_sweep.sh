#!/usr/bin/env bash
# How one item's grades move with the data rate: encodes an item of a work folder at each rate
# given (ours, and FFmpeg's with --ffmpeg), decodes it with FFmpeg as run.sh does and prints,
# per graded pair of channels, both models' grades and the model output variables:
#   rate_sweep.sh ITEM ac3|eac3 KBPS... [--ffmpeg] [--work DIR] [--build DIR]
# It answers questions a run at the benchmark's settings cannot: whether an item's grade is
# held down by the rate itself (a variable that only falls far above the setting's rate says
# so), and at what rate each coding reaches a grade. Rates must be ones the codec allows.
# Environment variables pass through to the encoder process unchanged.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
build=$root/build
work=
with_ffmpeg=false
positional=()
while [ $# -gt 0 ]; do
  case $1 in
    --work) work=$2; shift ;;
    --build) build=$(cd "$2" && pwd); shift ;;
    --ffmpeg) with_ffmpeg=true ;;
    -*) echo "unknown option $1" >&2; exit 2 ;;
    *) positional+=("$1") ;;
  esac
  shift
done
usage="usage: rate_sweep.sh ITEM ac3|eac3 KBPS... [--ffmpeg] [--work DIR] [--build DIR]"
[ ${#positional[@]} -ge 3 ] || { echo "$usage" >&2; exit 2; }
item=${positional[0]} codec=${positional[1]}
rates=("${positional[@]:2}")
case $codec in
  ac3) mode=1 ext=ac3 ;;
  eac3) mode=0 ext=ec3 ;;
  *) echo "$usage" >&2; exit 2 ;;
esac
work=${work:-$build/quality}
ref=$work/items/$item.wav
[ -f "$ref" ] || { echo "no item $ref (run run.sh with this --work first)" >&2; exit 2; }
cmake --build "$build" -j2 --target ddpi_engine bench_encoder quality_probe >/dev/null
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# encode WHO KBPS DIR: writes DIR/stream.EXT and prints the decoded file's leading samples to
# skip (-1: found by the probe, as run.sh does for FFmpeg's streams).
encode() {
  if [ "$1" = ours ]; then
    "$build/bin/bench_encoder" --engine-child "$build/lib/libddpi_engine.so" "$mode" "$2" \
      "$ref" "$3/stream.$ext" | cut -d' ' -f1
  else
    ffmpeg -nostdin -v error -y -i "$ref" -c:a "$codec" -b:a "${2}k" -f "$codec" "$3/stream.$ext"
    echo -1
  fi
}

encoders=(ours)
$with_ffmpeg && encoders+=(ffmpeg)
for kbps in "${rates[@]}"; do
  for who in "${encoders[@]}"; do
    dir=$tmp/$who.$kbps
    mkdir -p "$dir"
    skip=$(encode "$who" "$kbps" "$dir")
    ffmpeg -nostdin -v error -y -drc_scale 0 -i "$dir/stream.$ext" -c:a pcm_f32le "$dir/decoded.wav"
    "$build/bin/quality_probe" split "$ref" "$dir/decoded.wav" "$skip" "$dir"
    for pair in LR C S; do
      [ -f "$dir/ref_$pair.wav" ] || continue
      for model in basic advanced; do
        flag=
        [ $model = advanced ] && flag=--advanced
        printf '%s %s %s %s %s\n' "$kbps" "$who" "$pair" "$model" \
          "$(bash "$root/bench/quality/movs.sh" $flag "$dir/ref_$pair.wav" "$dir/test_$pair.wav")"
      done
    done
    rm -rf "$dir"
  done
done
