#!/usr/bin/env bash
# Installs every Debian package the project needs to build, test and run.
# Safe to run repeatedly: it does nothing when everything is already present.
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  libboost-dev libboost-thread-dev       # boost::any/function/shared_ptr, call_once
  nlohmann-json3-dev                     # JSON text parsing and printing in the host
  libgtest-dev libgmock-dev              # unit tests outside the library's self-checks
  libavcodec-dev libavutil-dev           # the engine's decoder (AC-3 / E-AC-3)
  ffmpeg                                 # independent reference decoder in tests and benchmarks
  libsoxr-dev                            # resampling of non-48 kHz WAV input
  libsndfile1-dev                        # ddhost encode/decode: WAV, RF64, W64, AIFF, FLAC, CAF files
  libavformat-dev                        # ddhost encode/decode: MP4 and Matroska
  libebur128-dev                         # ddhost encode --dialnorm auto: BS.1770 loudness
  sox                                    # tests: files written by another program
  alsa-utils                             # speech recordings used as real test content
  clang libclang-rt-14-dev               # libFuzzer targets
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
