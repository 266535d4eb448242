#!/usr/bin/env bash
# The main job: installs what the project needs, builds it, makes a 5.1 48 kHz WAV in which
# every loudspeaker says its own name, and encodes it with the default settings (Dolby
# Digital Plus, 3/2 + LFE) into out/demo.ec3.
#
#   bash scripts/encode-demo.sh     # your own file: build/bin/ddhost encode yours.wav yours.ec3
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build -j2 --target ddhost ddhost_app dolbydigital ddpi_engine

mkdir -p out
build/bin/ddhost make-speech-wav out/demo-5.1.wav
build/bin/ddhost dolbydigital.Encode -in=out/demo-5.1.wav -out=out/demo.ec3
echo "The Dolby Digital Plus stream is in $(pwd)/out/demo.ec3"
