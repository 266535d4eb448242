#!/usr/bin/env bash
# Why PEAQ grades our coding of one item differently from FFmpeg's: for each graded pair of
# channels and both models, the model output variables of the two codings side by side, and how
# far our grade would move with each of FFmpeg's values (peaq_explain says more). Reads a
# finished run of run.sh:
#   explain.sh SETTING ITEM [--work DIR] [--build DIR]
#   explain.sh --gaps [--work DIR] [--build DIR]
# --gaps goes over every item and setting of the run and lists the pairs that grade more than
# 0.1 below FFmpeg's in either model, each with the part of the gap that the moves marked
# "against" make (about a second per item and setting).
# FFmpeg's decoded file is taken from the same work folder or, for a run made with
# --ffmpeg-from, from the folder that run took FFmpeg's results from.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
build=$root/build
work=
usage="usage: explain.sh SETTING ITEM | --gaps  [--work DIR] [--build DIR]"
if [ "${1:-}" = --gaps ]; then
  setting= item=
  shift
else
  [ $# -ge 2 ] || { echo "$usage" >&2; exit 2; }
  setting=$1 item=$2
  shift 2
fi
while [ $# -gt 0 ]; do
  case $1 in
    --work) work=$2; shift ;;
    --build) build=$(cd "$2" && pwd); shift ;;
    *) echo "unknown option $1" >&2; exit 2 ;;
  esac
  shift
done
work=${work:-$build/quality}
cmake --build "$build" -j2 --target quality_probe peaq_explain >/dev/null
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# movs WHO PAIR MODEL: the MOV line of one coding's pair (split into $tmp by explain_item).
movs() {
  local flag=
  [ "$3" = advanced ] && flag=--advanced
  bash "$root/bench/quality/movs.sh" $flag "$tmp/$1/ref_$2.wav" "$tmp/$1/test_$2.wav"
}

# explain_item SETTING ITEM: the side-by-side tables of every graded pair of one item.
explain_item() {
  local setting=$1 item=$2
  local ours=$work/runs/$setting/$item/ours ffmpeg=$work/runs/$setting/$item/ffmpeg
  if [ ! -f "$ffmpeg/decoded.wav" ] && [ -L "$work/items" ]; then
    ffmpeg=$(dirname "$(readlink -f "$work/items")")/runs/$setting/$item/ffmpeg
  fi
  local who dir skip pair model
  for who in ours ffmpeg; do
    dir=$ours
    [ $who = ffmpeg ] && dir=$ffmpeg
    [ -f "$dir/decoded.wav" ] && [ -f "$dir/measure.txt" ] ||
      { echo "no decoded file and measurement in $dir: run run.sh first" >&2; return 1; }
    skip=$(awk '$1 == "skip" {print $2}' "$dir/measure.txt")
    rm -rf "${tmp:?}/$who"
    mkdir -p "$tmp/$who"
    "$build/bin/quality_probe" split "$work/items/$item.wav" "$dir/decoded.wav" "$skip" "$tmp/$who"
  done
  for pair in LR C S; do
    [ -f "$tmp/ours/ref_$pair.wav" ] || continue
    echo "== $setting $item $pair"
    for model in basic advanced; do
      "$build/bin/peaq_explain" $model "$(movs ours $pair $model)" "$(movs ffmpeg $pair $model)"
    done
  done
}

if [ -n "$setting" ]; then
  explain_item "$setting" "$item"
  exit 0
fi
for dir in "$work"/runs/*/*/ours; do
  item_dir=${dir%/ours}
  explain_item "$(basename "$(dirname "$item_dir")")" "$(basename "$item_dir")" | awk '
    /^== / { pair = $2 " " $3 " " $4 }
    /^summary / && $4 < -0.1 { printf "%-40s %-8s gap %+.3f, against %+.3f\n", pair, $2, $4, $6 }'
done
