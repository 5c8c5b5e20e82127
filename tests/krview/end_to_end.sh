#!/usr/bin/env bash
# krview on a display, moved by a mouse and a keyboard: what the display shows after each step has to
# be the picture that a script without a display makes of the same events.
# Usage: end_to_end.sh KRVIEW WINDOW_SHOWS
set -eu
krview=$1
shows=$2
for tool in Xvfb xdotool; do
  command -v "$tool" >/dev/null || { echo "no $tool: run scripts/install-deps test" >&2; exit 1; }
done

work=$(mktemp -d)
server=
viewer=
finish() {
  [ -z "$viewer" ] || kill "$viewer" 2>/dev/null || true
  [ -z "$server" ] || kill "$server" 2>/dev/null || true
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap finish EXIT
fail() { echo "end_to_end: $*" >&2; [ ! -s "$work/errors" ] || cat "$work/errors" >&2; exit 1; }

# Waits until a command succeeds, ten seconds at most.
until_ok() {
  local end=$((SECONDS + 10))
  until "$@" >/dev/null 2>&1; do
    [ $SECONDS -lt $end ] || fail "in vain: $*"
    sleep 0.02
  done
}

# --- A drawing of a workshop's kind: plate, holes, axes, texts
{
  printf '0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1021\n9\n$INSUNITS\n70\n4\n0\nENDSEC\n'
  printf '0\nSECTION\n2\nENTITIES\n'
  line() { printf '0\nLINE\n8\n0\n62\n%s\n10\n%s\n20\n%s\n11\n%s\n21\n%s\n' "$@"; }
  line 7 0 0 120 0; line 7 120 0 120 80; line 7 120 80 0 80; line 7 0 80 0 0
  line 1 -5 40 125 40; line 1 60 -5 60 85
  for x in 20 60 100; do
    for y in 20 60; do
      printf '0\nCIRCLE\n8\n0\n62\n5\n10\n%s\n20\n%s\n40\n8\n' $x $y
      printf '0\nARC\n8\n0\n62\n3\n10\n%s\n20\n%s\n40\n11\n50\n30\n51\n150\n' $x $y
    done
  done
  printf '0\nTEXT\n8\n0\n10\n4\n20\n4\n40\n5\n1\nPlate 120 x 80\n'
  printf '0\nSOLID\n8\n0\n62\n30\n10\n50\n20\n30\n11\n70\n21\n30\n12\n50\n22\n50\n13\n70\n23\n50\n'
  printf '0\nENDSEC\n0\nEOF\n'
} >"$work/plate.dxf"

# --- What should be seen, step after step
cat >"$work/script" <<EOF
move 320 240
screenshot $work/fit.png
wheel 1 200 150
wheel 1 200 150
wheel 1 200 150
screenshot $work/zoomed.png
wheel -1 450 100
screenshot $work/less.png
drag middle 450 100 380 170
screenshot $work/panned.png
press left 100 90
move 400 330
screenshot $work/band.png
release left 400 330
screenshot $work/closer.png
key backspace
screenshot $work/back.png
key shift+backspace
screenshot $work/forward.png
key f
key g
key g
screenshot $work/grid.png
size 900 500
move 30 30
screenshot $work/larger.png
key ?
screenshot $work/help.png
EOF
"$krview" "$work/plate.dxf" --size 640x480 --headless --script "$work/script"

# --- The display
echo 'leak:libdbus' >"$work/leaks"  # for a build that looks for leaks: this one is the host's
export LSAN_OPTIONS=suppressions=$work/leaks:print_suppressions=0
mkfifo "$work/number"
Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp -noreset 3>"$work/number" >"$work/server" 2>&1 &
server=$!
read -r -t 20 number <"$work/number" || fail "no display: $(cat "$work/server")"
export DISPLAY=:$number
unset WAYLAND_DISPLAY XAUTHORITY
export SDL_VIDEODRIVER=x11 XDG_RUNTIME_DIR=$work
"$krview" "$work/plate.dxf" --size 640x480 2>"$work/errors" &
viewer=$!
until_ok xdotool search --onlyvisible --name '^plate - krview$'
window=$(xdotool search --onlyvisible --name '^plate - krview$')
xdotool windowmove "$window" 100 100 windowfocus "$window"
until_ok test "$(xdotool getwindowfocus)" = "$window"

at() { xdotool mousemove --window "$window" "$1" "$2"; }
# The picture above the status line, which also tells how long drawing took.
expect() { "$shows" "$window" "$work/$1.png" "$(($2 - 22))" 10 || fail "after step: $1"; }

at 320 240
expect fit 480
at 200 150
xdotool click 4 click 4 click 4
expect zoomed 480
at 450 100
xdotool click 5
expect less 480
xdotool mousedown 2
at 420 130
at 380 170
xdotool mouseup 2
expect panned 480
at 100 90
xdotool mousedown 1
at 250 200
at 400 330
expect band 480
xdotool mouseup 1
expect closer 480
xdotool key BackSpace
expect back 480
xdotool key shift+BackSpace
expect forward 480
xdotool key f key g key g
expect grid 480
xdotool windowsize "$window" 900 500
at 30 30
expect larger 500
xdotool key question
expect help 500
cmp -s "$work/back.png" "$work/forward.png" && fail "the history does not move"
xdotool key q key q  # the first closes the help
wait "$viewer" || fail "krview ended with status $?"
viewer=

# --- A display that goes away: said, and no crash.
"$krview" "$work/plate.dxf" 2>"$work/errors" &
viewer=$!
until_ok xdotool search --onlyvisible --name '^plate - krview$'
kill "$server"
wait "$server" 2>/dev/null || true
server=
status=0
wait "$viewer" || status=$?
viewer=
[ $status = 1 ] || fail "status $status without its display"
grep -q '^krview: the display went away$' "$work/errors" || fail "no word about the display"
status=0
env -u DISPLAY -u SDL_VIDEODRIVER timeout 10 "$krview" "$work/plate.dxf" 2>"$work/errors" || status=$?
[ $status = 1 ] || fail "status $status, no display"
grep -q '^krview: no display' "$work/errors" || fail "no word about no display"
echo "end_to_end: all pictures are equal"
