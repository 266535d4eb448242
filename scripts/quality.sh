#!/usr/bin/env bash
# The perceptual quality benchmark (not part of the test suite): installs what it needs, then
# runs bench/quality/run.sh, which grades our encoder and FFmpeg's with PEAQ at the eight
# benchmark settings and prints per item and per setting tables.
#   scripts/quality.sh [--quick | --holdout] [run.sh options: --items a,b --settings s,...
#                      --build DIR --work DIR]
# The PEAQ tool itself (GstPEAQ) is built by ../shared/tools/peaq/build.sh into /opt/peaq.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
  sox bc                           # item preparation, arithmetic in the runner
  libsndfile1-dev                  # quality_probe reads and writes the WAV files
  fretsonfire-songs-muldjord       # recorded rock and metal, with separate guitar stems
  asc-music                        # orchestral and electronic game music
  fillets-ng-data                  # game music
  alsa-utils                       # recorded speech
)
# The held-out items (--holdout) come from a package of their own, 150 MB, installed only then.
for arg in "$@"; do
  [ "$arg" = --holdout ] && packages+=(wesnoth-1.16-music)
done
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
exec bash bench/quality/run.sh "$@"
