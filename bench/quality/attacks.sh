#!/usr/bin/env bash
# Pre-echo attack by attack, for telling what a change did to the attacks rather than only to
# the median and the worst one that run.sh's summary gives:
#   attacks.sh SETTING RESULTS [BEFORE_RESULTS]
# RESULTS are run.sh's per-job lines (a work folder's results.txt, which holds FFmpeg's lines
# too). Prints one line per attack of the setting: ours and FFmpeg's added energy in the 5 ms
# before it (dB) and their difference, the largest difference first; with BEFORE_RESULTS
# (another run's results.txt) also ours there and how far this run moved it.
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
{
  each_attack "$results" now
  [ -z "$before" ] || each_attack "$before" before
} | awk -v compare="${before:+1}" '
  { key = $1 " " $2; keys[key] = 1; db[key, $3, $4] = $5 }
  END {
    for (key in keys) {
      if (!((key, "now", "ours") in db) || !((key, "now", "ffmpeg") in db)) continue
      ours = db[key, "now", "ours"]; ffm = db[key, "now", "ffmpeg"]
      line = sprintf("%-34s ours %5.1f ffmpeg %5.1f  gap %+5.1f", key, ours, ffm, ours - ffm)
      if (compare && (key, "before", "ours") in db)
        line = line sprintf("  before %5.1f  moved %+5.1f", db[key, "before", "ours"],
                            ours - db[key, "before", "ours"])
      print ours - ffm "\t" line
    }
  }' | sort -g -r | cut -f2
