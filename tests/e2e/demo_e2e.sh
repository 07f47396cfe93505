#!/usr/bin/env bash
# Drives the demo host in a real X window (Xvfb) with real X input (xdotool):
# opens a priority node, double-clicks an IBO in the flat view (the edit dialog opens
# for that IBO), right-clicks another (the context menu opens), does both from the keyboard
# (Down, Return, the Menu key), finds, copies, exports, prints and previews, switches the forecast
# mode, takes a screenshot and quits. The demo reports what happened in an event file.
set -euo pipefail
build_dir=$1
work=$(mktemp -d)
xvfb_pid=""
demo_pid=""
cleanup() {
  [ -n "$demo_pid" ] && kill "$demo_pid" 2>/dev/null || true
  [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
fail() { echo "demo e2e: FAILED: $*"; echo "--- events"; cat "$work/events" 2>/dev/null || true; echo "--- points"; cat "$work/points" 2>/dev/null || true; exit 1; }

"$build_dir/apps/brevview-sampledb/brevview-sampledb" --count 80 "$work/sample.db" > /dev/null

# A display of our own.
# shellcheck source=xvfb.sh
. "$(dirname "$0")/xvfb.sh"
start_xvfb 1600x1000

export XDG_CONFIG_HOME="$work/config" BREV_DEMO_EVENTS="$work/events" BREV_DEMO_POINTS="$work/points" \
       BREV_DEMO_EXPORT="$work/export.csv" BREV_PRINT_TO_PDF="$work/print.pdf" \
       BREV_DEMO_SHOT="$work/shot.png" BREV_DEMO_QUIET=1 LANG=en_US.UTF-8 LC_ALL=en_US.UTF-8 QT_QPA_PLATFORM=xcb
unset WAYLAND_DISPLAY
"$build_dir/apps/brevview-demo/brevview-demo" --database "$work/sample.db" > "$work/demo.log" 2>&1 &
demo_pid=$!

wait_for() {  # file pattern
  for _ in $(seq 1 100); do grep -q "$2" "$1" 2>/dev/null && return 0; sleep 0.1; done
  fail "no '$2' in $(basename "$1")"
}
point() {  # row -> "x y data"
  awk -v r="$1" '$1 == "row" && $2 == r { print $3, $4, $5 }' "$work/points"
}

wait_for "$work/points" "^tab 0"
sleep 0.5
# Priority view: double-click the "Overdues" node (row 1) opens it.
read -r x y data < <(point 1)
[ "$data" = "N0" ] || fail "row 1 of the priority view is '$data', not the overdue node"
xdotool mousemove "$x" "$y" click 1
sleep 0.2
xdotool mousemove "$x" "$y" click --repeat 2 --delay 60 1
wait_for "$work/events" "^priority-outline 1 0"

# Flat view (Ctrl+3): double-click the first IBO.
xdotool key ctrl+3
wait_for "$work/points" "^tab 2"
sleep 0.3
read -r x y id < <(point 1)
xdotool mousemove "$x" "$y" click --repeat 2 --delay 60 1
wait_for "$work/events" "^edit-dialog $id\$"
sleep 0.3
xdotool key Escape
sleep 0.3
# Right-click the second IBO: the context menu opens for it.
read -r x y id2 < <(point 2)
xdotool mousemove "$x" "$y" click 3
wait_for "$work/events" "^context-menu $id2\$"
sleep 0.3
xdotool key Escape
sleep 0.2
# The keyboard does the same: a click makes the first IBO current, Down moves to the second,
# Return opens it; the Menu key opens the context menu for the third after another Down.
read -r x y id < <(point 1)
xdotool mousemove "$x" "$y" click 1
sleep 0.2
xdotool key Down Return
wait_for "$work/events" "^edit-dialog $id2\$"
sleep 0.3
xdotool key Escape
sleep 0.3
# (Without a window manager a closed dialog leaves no window active: a click makes the
# window active again, as a user's click would.)
read -r x y id2 < <(point 2)
xdotool mousemove "$x" "$y" click 1
sleep 0.2
read -r x y id3 < <(point 3)
xdotool key Down Menu
wait_for "$work/events" "^context-menu $id3\$"
sleep 0.8
xdotool key Escape
sleep 0.2

# Find (Ctrl+F): every IBO number holds "-0"; nothing holds "zzzz".
xdotool key ctrl+f
sleep 0.2
xdotool type --delay 40 -- "-0"
wait_for "$work/events" "^found -0"
xdotool key ctrl+a BackSpace
xdotool type --delay 40 "zzzz"
wait_for "$work/events" "^not-found zzzz"
xdotool key Escape
# Copy (the rows selected by a click), export (Ctrl+Shift+S) and print (Ctrl+P, into the PDF).
read -r x y id < <(point 2)
xdotool mousemove "$x" "$y" click 1
sleep 0.2
xdotool key ctrl+c
wait_for "$work/events" "^copied"
xdotool key ctrl+shift+s
wait_for "$work/events" "^exported"
[ "$(wc -l < "$work/export.csv")" -gt 10 ] || fail "the export has too few lines"
head -1 "$work/export.csv" | grep -q "IBO#" || fail "the export has no header row"
xdotool key ctrl+p
wait_for "$work/events" "^printed"
pdfinfo "$work/print.pdf" | grep -q "Pages:" || fail "no printed PDF"
# The print preview opens on print(QPrinter*) and closes again.
xdotool key ctrl+shift+p
wait_for "$work/events" "^preview-open"
sleep 1
xdotool key Escape
sleep 0.5
xdotool mousemove "$x" "$y" click 1
sleep 0.2

# Forecast view (Ctrl+2): the Weighted switch (Alt+W).
xdotool key ctrl+2
wait_for "$work/points" "^control weighted"
sleep 0.3
read -r x y < <(awk '$1 == "control" && $2 == "weighted" { print $3, $4 }' "$work/points")
xdotool mousemove "$x" "$y" click 1
wait_for "$work/events" "^forecast-mode 1"

# A picture of the window (F12), then quit (Ctrl+Q).
xdotool key F12
wait_for "$work/events" "^screenshot"
[ -s "$work/shot.png" ] || fail "no screenshot"
xdotool key ctrl+q
for _ in $(seq 1 50); do kill -0 "$demo_pid" 2>/dev/null || break; sleep 0.1; done
if kill -0 "$demo_pid" 2>/dev/null; then fail "the demo did not quit"; fi
demo_pid=""
cat "$work/events"
echo "demo e2e: ok"
