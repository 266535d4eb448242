#!/usr/bin/env bash
# The model output variables behind one PEAQ grade, for finding out what the model hears in a
# decoded file rather than only how much:
#   movs.sh [--advanced] REF.wav TEST.wav
# Both files as grade.sh takes them: 48 kHz, mono or stereo, same length, aligned (run.sh
# leaves such pairs in a job folder only while it grades; `quality_probe split` makes them).
# Prints one line: the basic model's eleven variables (the advanced model's five with
# --advanced) and the ODG. Reading the basic ones:
#  - BandwidthTestB: the test's bandwidth in FFT bins (23.4 Hz); the network grades a lower
#    one better on some items even where the reference reaches higher;
#  - MFPDB (peak probability of detection, 0..1) and AvgModDiff2B (changes of the envelope
#    where the reference's is steady): noise on stable tones;
#  - EHSB: a harmonic structure in the error, as when noise follows a tone's partials;
#  - Total NMRB, RelDistFramesB: noise against the masked threshold, overall and how often.
# explain.sh puts two such lines side by side and says which variables make the difference.
# Needs the PEAQ GStreamer plugin under PEAQ_PREFIX (default /opt/peaq; built by
# ../shared/tools/peaq/build.sh) and gst-launch-1.0.
set -euo pipefail
advanced=false
[ "${1:-}" = --advanced ] && { advanced=true; shift; }
[ $# -eq 2 ] || { echo "usage: movs.sh [--advanced] REF.wav TEST.wav" >&2; exit 2; }
prefix=${PEAQ_PREFIX:-/opt/peaq}
[ -d "$prefix/lib/gstreamer-1.0" ] || { echo "no PEAQ plugin under $prefix" >&2; exit 2; }
export GST_PLUGIN_PATH=$prefix/lib/gstreamer-1.0
# Paths go into a gst-launch description, so they must not contain spaces.
branch() { echo "filesrc location=$1 ! wavparse ! audioconvert ! audioresample"; }
# shellcheck disable=SC2046
LC_ALL=C gst-launch-1.0 -q peaq name=p advanced=$advanced console-output=true \
  $(branch "$1") ! p.ref $(branch "$2") ! p.test |
  awk -F' *[:=] *' 'NF == 2 {
      name = $1; gsub(/^ +/, "", name); gsub(/ /, "", name)
      if (name == "ObjectiveDifferenceGrade") name = "ODG"
      printf "%s%s=%s", sep, name, $2; sep = " "
    } END { print "" }'
