#!/usr/bin/env bash
# Pre-echo attack by attack, for telling what a change did to the attacks rather than only to
# the median and the worst one that run.sh's summary gives:
#   attacks.sh SETTING RESULTS [BEFORE_RESULTS]
# RESULTS are run.sh's per-job lines (a work folder's results.txt, which holds FFmpeg's lines
# too). Prints one line per attack of the setting: ours and FFmpeg's added energy in the 5 ms
# before it (dB) and their difference, the largest difference first; with BEFORE_RESULTS
# (another run's results.txt) also ours there and how far this run moved it. Last, where the
# onset falls in our stream: "block B.Q", block B (0-5) of its frame, quarter Q (0-3) of that
# block's new samples. Blocks 0 and 1 share the first 5/8 of the frame, which caps what a
# boost can give them.
# Reading it: after one changed frame, FFmpeg's decoder draws its dither differently for the
# rest of the item, so attacks later in a changed item move by a few tenths of a dB either way
# even where the streams are identical around them.
set -euo pipefail
[ $# -ge 2 ] || { echo "usage: attacks.sh SETTING RESULTS [BEFORE_RESULTS]" >&2; exit 2; }
setting=$1 results=$2 before=${3:-}
# Per attack: item, time, run (now / before), encoder, dB.
each_attack() {
  awk -v s="$setting" -v run="$2" '$1 == s && $10 != "-" {
    n = split($10, a, ",")
    for (i = 1; i <= n; ++i) { split(a[i], x, ":"); print $2, x[1], run, $3, x[2] }
  }' "$1"
}
# Per item: our decode's skip (the engine's delay), from the run's measurements, when kept.
each_skip() {
  local m
  for m in "$(dirname "$results")/runs/$setting"/*/ours/measure.txt; do
    [ -f "$m" ] || continue
    awk -v item="$(basename "$(dirname "$(dirname "$m")")")" '$1 == "skip" { print item, $2 }' "$m"
  done
}
{
  each_skip | sed 's/^/skip /'
  each_attack "$results" now
  [ -z "$before" ] || each_attack "$before" before
} | awk -v compare="${before:+1}" '
  $1 == "skip" { skip[$2] = $3; next }
  { key = $1 " " $2; keys[key] = 1; item[key] = $1; at[key] = $2; db[key, $3, $4] = $5 }
  END {
    for (key in keys) {
      if (!((key, "now", "ours") in db) || !((key, "now", "ffmpeg") in db)) continue
      ours = db[key, "now", "ours"]; ffm = db[key, "now", "ffmpeg"]
      line = sprintf("%-34s ours %5.1f ffmpeg %5.1f  gap %+5.1f", key, ours, ffm, ours - ffm)
      if (compare && (key, "before", "ours") in db)
        line = line sprintf("  before %5.1f  moved %+5.1f", db[key, "before", "ours"],
                            ours - db[key, "before", "ours"])
      if (item[key] in skip) {
        # Our block whose new samples hold the onset, its place in the frame and the quarter.
        pos = int(at[key] * 48000 + 0.5) + skip[item[key]]
        block = int(pos / 256) - 1
        line = line sprintf("  block %d.%d", block % 6, int((pos - 256 * (block + 1)) / 64))
      }
      print ours - ffm "\t" line
    }
  }' | sort -g -r | cut -f2
