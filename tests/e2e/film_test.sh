#!/bin/bash
# Films end to end: a short dive film encodes as the player will read it,
# the frames are the same bytes whichever process or share draws them, the
# same seed plans the same path, a killed run resumes without drawing a frame
# twice, and bad film options stop with a message before any work.
# Usage: film_test.sh PROGRAM
set -u
prog=$1
. "$(dirname "$0")/common.sh"
command -v ffprobe >/dev/null || { echo "no ffprobe here; skipped"; exit 77; }

film="--dive 2 --fps 12 --size 96x54 --seed classic --type mandelbulb --random-seed 7 --samples 4"
frame() { printf 'frame_%06d.png' "$1"; }

# The whole run as numbered PNGs, and the same film as H.264.
"$prog" --video "$dir/all/" $film 2>"$dir/stderr"
expect_success $? "$dir/stderr"
grep -q -- "--random-seed 7" "$dir/stderr" || fail "the plan's seed is not in the log"
[ "$(ls "$dir/all" | grep -c '^frame_.*\.png$')" -eq 24 ] || fail "not 24 frames: $(ls "$dir/all")"
grep -q '^random-seed: 7$' "$dir/all/film.log" || fail "no seed in film.log"
grep -aq 'Quorvantelix-frame' "$dir/all/$(frame 3)" || fail "a frame carries no frame index"
grep -aq 'frame 3; path path.json' "$dir/all/$(frame 3)" || fail "frame 3 names the wrong index or path"

"$prog" --video "$dir/film.mp4" $film 2>"$dir/stderr"
expect_success $? "$dir/stderr"
probe=$(ffprobe -v error -select_streams v:0 -count_frames \
  -show_entries stream=codec_name,width,height,pix_fmt,r_frame_rate,nb_read_frames -of default=nw=1 "$dir/film.mp4")
for want in codec_name=h264 width=96 height=54 pix_fmt=yuv420p r_frame_rate=12/1 nb_read_frames=24; do
  echo "$probe" | grep -qx "$want" || fail "ffprobe: want $want, got: $probe"
done
cmp -s "$dir/all/path.json" "$dir/film.mp4.path.json" || fail "the same --random-seed planned another path"
# Decoded frames against the PNGs: only the codec's loss between them.
psnr=$(ffmpeg -v info -nostats -i "$dir/film.mp4" -framerate 12 -i "$dir/all/frame_%06d.png" \
  -lavfi "[0:v][1:v]psnr" -f null - 2>&1 | sed -n 's/.*PSNR.* average:\([0-9.inf]*\).*/\1/p')
awk -v p="$psnr" 'BEGIN { exit !(p == "inf" || p + 0 > 30) }' || fail "decoded frames differ from the PNGs (PSNR $psnr dB)"

# Frames 10–19 alone, and the film in two shares, are the whole run's bytes.
"$prog" --video "$dir/part/" $film --frames 10-19 2>"$dir/stderr"
expect_success $? "$dir/stderr"
[ "$(ls "$dir/part" | grep -c '^frame_')" -eq 10 ] || fail "--frames 10-19 wrote $(ls "$dir/part" | grep -c '^frame_') frames"
for i in $(seq 10 19); do cmp -s "$dir/all/$(frame $i)" "$dir/part/$(frame $i)" || fail "frame $i alone differs"; done
for k in 1 2; do
  "$prog" --video "$dir/shares/" $film --frames $k/2 2>"$dir/stderr"
  expect_success $? "$dir/stderr"
done
for i in $(seq 0 23); do cmp -s "$dir/all/$(frame $i)" "$dir/shares/$(frame $i)" || fail "frame $i of the shares differs"; done
# The saved path draws the planned frames again.
"$prog" --video "$dir/again/" --path "$dir/all/path.json" --frames 20-23 --samples 4 --size 96x54 2>"$dir/stderr"
expect_success $? "$dir/stderr"
for i in 20 21 22 23; do cmp -s "$dir/all/$(frame $i)" "$dir/again/$(frame $i)" || fail "frame $i of --path differs"; done
"$prog" --video "$dir/shares.mp4" --from-frames "$dir/shares" --fps 12 2>"$dir/stderr"
expect_success $? "$dir/stderr"
cmp -s "$dir/film.mp4" "$dir/shares.mp4" || fail "the shares encode to another film than the whole run"

# Resume: a run killed midway, started again, draws exactly what is missing.
long="--dive 4 --fps 12 --size 96x54 --seed classic --type mandelbulb --random-seed 3 --samples 24"
"$prog" --video "$dir/resume/" $long 2>/dev/null &
pid=$!
tries=0
while [ "$(ls "$dir/resume" 2>/dev/null | grep -c '^frame_.*\.png$')" -lt 6 ] && [ $tries -lt 1200 ]; do
  sleep 0.1; tries=$((tries + 1))
done
kill -9 $pid 2>/dev/null
wait $pid 2>/dev/null
before=$(ls "$dir/resume" | grep -c '^frame_.*\.png$')
[ "$before" -ge 6 ] && [ "$before" -lt 48 ] || fail "the killed run left $before frames (wanted some, not all)"
"$prog" --video "$dir/resume/" $long 2>"$dir/stderr"
expect_success $? "$dir/stderr"
skipped=$(sed -n 's/^skipped: //p' "$dir/resume/film.log")
rendered=$(sed -n 's/^rendered: //p' "$dir/resume/film.log")
[ "$skipped" -eq "$before" ] && [ $((skipped + rendered)) -eq 48 ] ||
  fail "resume: $before frames there, skipped $skipped, rendered $rendered of 48"
[ "$(ls "$dir/resume" | grep -c '^frame_.*\.png$')" -eq 48 ] || fail "not every frame is there after the resume"
if command -v pngcheck >/dev/null; then
  pngcheck -q "$dir"/resume/frame_*.png >/dev/null || fail "a resumed frame is not a whole PNG"
fi

# Bad film options: status 2 and nothing written (the command line's tests
# cover the other messages).
"$prog" --video "$dir/x.avi" --dive 1 >/dev/null 2>"$dir/stderr"
[ $? -eq 2 ] && grep -q "неизвестный формат видео" "$dir/stderr" || fail "x.avi: $(cat "$dir/stderr")"
"$prog" --video "$dir/x/" --dive 1 --frames 9-3 >/dev/null 2>"$dir/stderr"
[ $? -eq 2 ] || fail "--frames 9-3 accepted"
[ ! -e "$dir/x.avi" ] && [ ! -e "$dir/x" ] || fail "a refused film left files"
echo "ok: 24 frames, $probe" | tr '\n' ' '; echo "PSNR $psnr dB; resume skipped $skipped, rendered $rendered"
