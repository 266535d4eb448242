#!/usr/bin/env bash
# A 5.1 item (slot order L R C LFE Ls Rs, 48 kHz float WAV) built from stereo items:
#   surround.sh OUT LR C LSRS LFE
# L and R are LR's two channels, Ls and Rs those of LSRS; the centre is C's two channels summed
# at 0.7 each, and the LFE a full-band source's summed at 0.5: both encoders band-limit it
# themselves.
set -euo pipefail
[ $# -eq 5 ] || { echo "usage: surround.sh OUT LR C LSRS LFE" >&2; exit 2; }
out=$1 lr=$2 centre=$3 back=$4 lfe=$5
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
sox -D -V1 "$lr" "$tmp/l.wav" remix 1
sox -D -V1 "$lr" "$tmp/r.wav" remix 2
sox -D -V1 "$centre" "$tmp/c.wav" remix 1,2 vol 0.7
sox -D -V1 "$lfe" "$tmp/lfe.wav" remix 1,2 vol 0.5
sox -D -V1 "$back" "$tmp/ls.wav" remix 1
sox -D -V1 "$back" "$tmp/rs.wav" remix 2
sox -D -V1 -M "$tmp/l.wav" "$tmp/r.wav" "$tmp/c.wav" "$tmp/lfe.wav" "$tmp/ls.wav" \
  "$tmp/rs.wav" -e floating-point -b 32 "$out"
