#!/usr/bin/env bash
# Builds the quality benchmark's item set in DIR (once; existing items are kept): 10 s each,
# 48 kHz float WAV, low-passed at 20 kHz as real recordings are (PEAQ's basic model needs it).
# Stereo items from recorded music and speech in Debian packages plus synthesized critical
# signals; 5.1 mixes (slot order L R C LFE Ls Rs) built from them.
#   make_items.sh DIR QUALITY_PROBE
# Needs: fretsonfire-songs-muldjord, asc-music, fillets-ng-data, alsa-utils (speech), sox,
# ffmpeg (scripts/quality.sh installs them).
set -euo pipefail
dir=$1
probe=$2
mkdir -p "$dir/src"

songs=/usr/share/games/fretsonfire/data/songs/muldjord
asc=/usr/share/games/asc/music
fillets=/usr/share/games/fillets-ng/music
alsa=/usr/share/sounds/alsa

# decode FILE START OUT: 10 s from START seconds, stereo 48 kHz float.
decode() {
  ffmpeg -nostdin -v error -y -ss "$2" -t 10 -i "$1" -ac 2 -ar 48000 -c:a pcm_f32le "$3"
}
# lowpass IN OUT: band-limited at 20 kHz, exactly 10 s.
lowpass() { sox -D -V1 "$1" -e floating-point -b 32 "$2" sinc -20k pad 0 0.1 trim 0 10; }

item() {  # item NAME: true if it must still be made
  [ ! -f "$dir/$1.wav" ]
}

if item rock_armygeddon; then
  decode "$songs/armygeddon/song.ogg" 30 "$dir/src/a.wav"
  decode "$songs/armygeddon/guitar.ogg" 30 "$dir/src/b.wav"
  sox -D -V1 -m "$dir/src/a.wav" "$dir/src/b.wav" "$dir/src/mix.wav"
  lowpass "$dir/src/mix.wav" "$dir/rock_armygeddon.wav"
fi
if item metal_chaos_god; then
  decode "$songs/chaos_god/song.ogg" 45 "$dir/src/a.wav"
  decode "$songs/chaos_god/guitar.ogg" 45 "$dir/src/b.wav"
  sox -D -V1 -m "$dir/src/a.wav" "$dir/src/b.wav" "$dir/src/mix.wav"
  lowpass "$dir/src/mix.wav" "$dir/metal_chaos_god.wav"
fi
if item drums_mutilated_mime; then
  # The backing track alone: drums and bass, the attacks the block switching must hold.
  decode "$songs/mutilated_mime/song.ogg" 20 "$dir/src/a.wav"
  lowpass "$dir/src/a.wav" "$dir/drums_mutilated_mime.wav"
fi
if item guitar_internal_degeneration; then
  decode "$songs/internal_degeneration/guitar.ogg" 30 "$dir/src/a.wav"
  lowpass "$dir/src/a.wav" "$dir/guitar_internal_degeneration.wav"
fi
if item orchestral_frontiers; then
  decode "$asc/frontiers.mp3" 60 "$dir/src/a.wav"
  lowpass "$dir/src/a.wav" "$dir/orchestral_frontiers.wav"
fi
if item electronic_machine_wars; then
  decode "$asc/machine_wars.mp3" 30 "$dir/src/a.wav"
  lowpass "$dir/src/a.wav" "$dir/electronic_machine_wars.wav"
fi
if item game_rybky07; then
  decode "$fillets/rybky07.ogg" 20 "$dir/src/a.wav"
  lowpass "$dir/src/a.wav" "$dir/game_rybky07.wav"
fi
if item speech; then
  # Recorded speech: the loudspeaker names, one after another, 10 s.
  sox -D -V1 "$alsa/Front_Left.wav" "$alsa/Front_Center.wav" "$alsa/Front_Right.wav" \
    "$alsa/Side_Right.wav" "$alsa/Rear_Right.wav" "$alsa/Rear_Center.wav" \
    "$alsa/Rear_Left.wav" "$alsa/Side_Left.wav" -c 2 -r 48000 "$dir/src/a.wav"
  sox -D -V1 "$dir/src/a.wav" "$dir/src/b.wav" pad 0 10 trim 0 10
  lowpass "$dir/src/b.wav" "$dir/speech.wav"
fi
for kind in castanets harpsichord applause glockenspiel pitchpipe reed; do
  if item "$kind"; then
    "$probe" synth "$kind" "$dir/src/$kind.wav"
    lowpass "$dir/src/$kind.wav" "$dir/$kind.wav"
  fi
done

# 5.1 mixes (surround.sh).
surround() {  # surround NAME L/R-FILE C-FILE LS/RS-FILE LFE-FILE
  item "$1" || return 0
  bash "$(dirname "$0")/surround.sh" "$dir/$1.wav" "$2" "$3" "$4" "$5"
}
decode "$songs/armygeddon/song.ogg" 30 "$dir/src/song.wav"
lowpass "$dir/src/song.wav" "$dir/src/song_lp.wav"
decode "$songs/armygeddon/guitar.ogg" 30 "$dir/src/gtr.wav"
lowpass "$dir/src/gtr.wav" "$dir/src/gtr_lp.wav"
sox -D -V1 "$dir/src/gtr_lp.wav" "$dir/src/gtr_back.wav" vol 0.5 pad 0.02 trim 0 10
surround rock_51 "$dir/src/song_lp.wav" "$dir/src/gtr_lp.wav" "$dir/src/gtr_back.wav" \
  "$dir/src/song.wav"
surround film_51 "$dir/orchestral_frontiers.wav" "$dir/speech.wav" "$dir/applause.wav" \
  "$dir/metal_chaos_god.wav"
surround percussion_51 "$dir/castanets.wav" "$dir/glockenspiel.wav" "$dir/harpsichord.wav" \
  "$dir/drums_mutilated_mime.wav"
surround tonal_51 "$dir/electronic_machine_wars.wav" "$dir/reed.wav" "$dir/pitchpipe.wav" \
  "$dir/electronic_machine_wars.wav"
rm -rf "$dir/src"
