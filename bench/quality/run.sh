#!/usr/bin/env bash
# Quality benchmark: our encoder against FFmpeg's at the same settings, graded by PEAQ
# (ITU-R BS.1387, GstPEAQ: basic and advanced models, ODG 0 = transparent .. -4), both decoded
# by FFmpeg with -drc_scale 0. Also per item: coded bandwidth, worst energy above it against
# the original (dB; above each frame's band as its stream codes it), pre-echo per attack (dB
# added in the 5 ms before it) and each 5.1 channel's lag after the reported delay (ours) or
# the found one (FFmpeg's).
#   run.sh [--quick] [--holdout] [--items a,b,...] [--settings s,...] [--build DIR] [--work DIR]
#          [--jobs N] [--ours-only] [--ffmpeg-from DIR] [--lean]
# Settings: ac3_20_192 ac3_20_128 ac3_51_448 ac3_51_384 eac3_20_96 eac3_20_128 eac3_51_192
# eac3_51_256. Any CODEC_LAYOUT_KBPS (ac3 or eac3, 10, 20 or 51, a rate both encoders take) is
# graded the same way, which checks the rates between and beyond those (eac3_20_64,
# ac3_51_640) and mono (ac3_10_64: the stereo items downmixed). --quick: four critical items
# at AC-3 2.0 192k and E-AC-3 2.0 96k.
# --holdout grades the held-out items instead (make_holdout_items.sh: music the encoder was
# never tuned on, stereo and two 5.1 mixes); give it a work folder of its own.
# --ours-only grades only our encoder and reuses FFmpeg's results already in the work folder
# (its encoder is deterministic), which halves a run while tuning. --ffmpeg-from DIR does the
# same with FFmpeg's results and the items of another work folder, so that each variant of a
# tuning run gets a folder of its own.
# --lean deletes each decoded file once it is graded and measured: a full run otherwise keeps
# about half a gigabyte of them, which explain.sh needs and little else does.
# 5.1 items are graded pair by pair (L/R, C, Ls/Rs) and the item's grade is their mean.
# Needs the PEAQ tool (PEAQ_GRADE, default ../shared/tools/peaq/grade.sh) and the item
# packages (scripts/quality.sh installs them and runs this).
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
build=$root/build
work=
jobs=2
encoders="ours ffmpeg"
items=
holdout=
ffmpeg_from=
lean=
settings="ac3_20_192 ac3_20_128 ac3_51_448 ac3_51_384 eac3_20_96 eac3_20_128 eac3_51_192 eac3_51_256"
while [ $# -gt 0 ]; do
  case $1 in
    --quick) items=castanets,reed,rock_armygeddon,speech; settings="ac3_20_192 eac3_20_96" ;;
    --holdout) holdout=1 ;;
    --items) items=$2; shift ;;
    --settings) settings=${2//,/ }; shift ;;
    --build) build=$(cd "$2" && pwd); shift ;;
    --work) work=$2; shift ;;
    --jobs) jobs=$2; shift ;;
    --ours-only) encoders=ours ;;
    --ffmpeg-from) ffmpeg_from=$(cd "$2" && pwd); encoders=ours; shift ;;
    --lean) lean=1 ;;
    *) echo "unknown option $1" >&2; exit 2 ;;
  esac
  shift
done
work=${work:-$build/quality}
grade=${PEAQ_GRADE:-$root/../shared/tools/peaq/grade.sh}
[ -x "$grade" ] || grade=/work/shared/tools/peaq/grade.sh
mkdir -p "$work/runs"
if [ -n "$ffmpeg_from" ]; then
  [ -e "$work/items" ] || ln -s "$ffmpeg_from/items" "$work/items"
  for setting in $settings; do
    for result in "$ffmpeg_from/runs/$setting"/*/ffmpeg/result.txt; do
      [ -f "$result" ] || continue
      item_dir=${result%/ffmpeg/result.txt}
      mkdir -p "$work/runs/$setting/${item_dir##*/}/ffmpeg"
      cp "$result" "$work/runs/$setting/${item_dir##*/}/ffmpeg/"
    done
  done
fi

if [ ! -f "$build/CMakeCache.txt" ]; then
  cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DDD_BUILD_BENCH=ON >/dev/null
fi
cmake --build "$build" -j2 --target ddpi_engine bench_encoder quality_probe >/dev/null
probe=$build/bin/quality_probe
# A work folder holds one item set: the items are whatever WAV files it has, so a set made into
# another set's folder (directly or through --ffmpeg-from) would be graded with it from then on.
item_set=main
[ -n "$holdout" ] && item_set=holdout
if [ -f "$work/items/.set" ] && [ "$(cat "$work/items/.set")" != "$item_set" ]; then
  echo "$work/items holds the $(cat "$work/items/.set") items, not the $item_set ones" >&2
  exit 2
fi
if [ -n "$holdout" ]; then
  bash "$root/bench/quality/make_holdout_items.sh" "$work/items"
else
  bash "$root/bench/quality/make_items.sh" "$work/items" "$probe"
fi
echo "$item_set" >"$work/items/.set"
if [ -z "$items" ]; then
  items=$(cd "$work/items" && ls *.wav | sed 's/\.wav$//' | paste -sd,)
fi

# One job: encode ITEM at SETTING with ENCODER, decode, grade and measure into one line:
# setting item encoder basic advanced bandwidth above_band lfe_lag lags attacks(t:dB,...)
# pairs(LR:basic/advanced,C:...,S:..., 5.1 only; else -) lfe_fine_lag(5.1 only; else -)
run_one() {
  local setting=$1 item=$2 encoder=$3
  local codec layout kbps
  IFS=_ read -r codec layout kbps <<<"$setting"
  local ref=$work/items/$item.wav
  local channels
  channels=$(soxi -c "$ref")
  # 2.0 settings take the stereo items, 5.1 settings the 5.1 ones, 1.0 settings the stereo
  # ones downmixed to (L + R) / 2.
  local item_channels=2
  [ "$layout" = 51 ] && item_channels=6
  [ "$channels" = "$item_channels" ] || return 0
  local dir=$work/runs/$setting/$item/$encoder
  mkdir -p "$dir"
  if [ "$layout" = 10 ]; then  # each job its own copy: both encoders' jobs run at once
    sox "$ref" -c 1 "$dir/mono.wav" remix 1v0.5,2v0.5
    ref=$dir/mono.wav
    channels=1
  fi
  rm -f "$dir/result.txt"
  local ext=$codec skip
  [ "$codec" = eac3 ] && ext=ec3
  if [ "$encoder" = ours ]; then
    local mode=1
    [ "$codec" = eac3 ] && mode=0
    skip=$("$build/bin/bench_encoder" --engine-child "$build/lib/libddpi_engine.so" "$mode" \
      "$kbps" "$ref" "$dir/stream.$ext" | cut -d' ' -f1)
  else
    ffmpeg -nostdin -v error -y -i "$ref" -c:a "$codec" -b:a "${kbps}k" -f "$codec" "$dir/stream.$ext"
    skip=-1
  fi
  ffmpeg -nostdin -v error -y -drc_scale 0 -i "$dir/stream.$ext" -c:a pcm_f32le "$dir/decoded.wav"
  "$probe" split "$ref" "$dir/decoded.wav" "$skip" "$dir"
  "$probe" measure "$ref" "$dir/decoded.wav" "$skip" "$dir/stream.$ext" >"$dir/measure.txt"
  local basic=0 advanced=0 pairs=0 pair b a per_pair=
  for pair in LR C S; do
    [ -f "$dir/ref_$pair.wav" ] || continue
    b=$("$grade" "$dir/ref_$pair.wav" "$dir/test_$pair.wav")
    a=$("$grade" "$dir/ref_$pair.wav" "$dir/test_$pair.wav" --advanced)
    basic=$(echo "$basic + $b" | bc -l)
    advanced=$(echo "$advanced + $a" | bc -l)
    pairs=$((pairs + 1))
    per_pair="$per_pair${per_pair:+,}$pair:$b/$a"
  done
  # A 5.1 item's grade is the mean of its pairs; each pair's own grades say which channels
  # carry a difference.
  [ "$pairs" -gt 1 ] || per_pair=-
  local lfe=- lfe_fine=-
  if [ "$channels" = 6 ]; then
    lfe=$(awk '$1 == "lag" && $2 == 3 {print $3}' "$dir/measure.txt")
    lfe_fine=$(awk '$1 == "fine_lag" && $2 == 3 {print $3}' "$dir/measure.txt")
  fi
  local lags attacks
  lags=$(awk '$1 == "lag" && $3 != 0 && $2 != 3 {printf "%s%s:%s", sep, $2, $3; sep=","}' "$dir/measure.txt")
  attacks=$(awk '$1 == "attack" {printf "%s%s:%s", sep, $2, $3; sep=","}' "$dir/measure.txt")
  printf '%s %s %s %.3f %.3f %s %s %s %s %s %s %s\n' "$setting" "$item" "$encoder" \
    "$(echo "$basic / $pairs" | bc -l)" "$(echo "$advanced / $pairs" | bc -l)" \
    "$(awk '$1 == "bandwidth" {print $2}' "$dir/measure.txt")" \
    "$(awk '$1 == "above_band" {print $2}' "$dir/measure.txt")" "$lfe" "${lags:--}" \
    "${attacks:--}" "$per_pair" "$lfe_fine" >"$dir/result.txt"
  rm -f "$dir"/ref_*.wav "$dir"/test_*.wav
  if [ -n "$lean" ]; then rm -f "$dir/decoded.wav" "$dir/mono.wav"; fi
}
export -f run_one
export work build probe grade lean

for setting in $settings; do
  for item in ${items//,/ }; do
    for encoder in $encoders; do echo "$setting $item $encoder"; done
  done
done | xargs -P "$jobs" -L 1 bash -c 'set -eo pipefail; run_one "$@" || echo "job failed: $*" >&2' _

results=$work/results.txt
: >"$results"
for setting in $settings; do
  for item in ${items//,/ }; do
    for encoder in ours ffmpeg; do
      f=$work/runs/$setting/$item/$encoder/result.txt
      [ -f "$f" ] && cat "$f" >>"$results"
    done
  done
done
awk -f "$root/bench/quality/summary.awk" "$results"
echo "(per-job results: $results)"
