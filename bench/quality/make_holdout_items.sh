#!/usr/bin/env bash
# Builds the held-out item set in DIR (once; existing items are kept): eight 10 s stereo
# excerpts of recorded game music, 48 kHz float WAV, low-passed at 20 kHz like the main items,
# and two 5.1 mixes of them (surround.sh). The encoder is never tuned on these; grading them
# checks that what the main items taught it holds on music it has not met. Orchestra with
# percussion, plucked folk instruments, choir, solo winds and strings, ambient pads, fast brass
# and strings; the mixes put the choir or the winds in the centre.
#   make_holdout_items.sh DIR
# Needs: wesnoth-1.16-music, sox, ffmpeg (scripts/quality.sh --holdout installs them).
set -euo pipefail
dir=$1
music=/usr/share/games/wesnoth/1.16/data/core/music
mkdir -p "$dir/src"
# name track start-seconds
while read -r name track start; do
  [ -f "$dir/$name.wav" ] && continue
  ffmpeg -nostdin -v error -y -ss "$start" -t 10 -i "$music/$track.ogg" -ac 2 -ar 48000 \
    -c:a pcm_f32le "$dir/src/$name.wav"
  sox -D -V1 "$dir/src/$name.wav" -e floating-point -b 32 "$dir/$name.wav" sinc -20k \
    pad 0 0.1 trim 0 10
done <<'LIST'
orchestra_battle_epic battle-epic 30
folk_traveling_minstrels traveling_minstrels 30
choir_nunc_dimittis nunc_dimittis 30
percussion_knalgan knalgan_theme 30
winds_elvish_theme elvish-theme 30
brass_frantic frantic 30
ambient_underground underground 30
solo_wanderer wanderer 30
LIST

# 5.1: orchestra in front, the choir in the centre, ambient pads behind; folk instruments in
# front, the winds in the centre, percussion behind.
mix() {  # mix NAME L/R C LS/RS LFE (item names)
  [ -f "$dir/$1.wav" ] && return 0
  bash "$(dirname "$0")/surround.sh" "$dir/$1.wav" "$dir/$2.wav" "$dir/$3.wav" "$dir/$4.wav" \
    "$dir/$5.wav"
}
mix orchestra_51 orchestra_battle_epic choir_nunc_dimittis ambient_underground \
  orchestra_battle_epic
mix folk_51 folk_traveling_minstrels winds_elvish_theme percussion_knalgan percussion_knalgan
