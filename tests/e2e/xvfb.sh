# Sourced by the end-to-end scripts. start_xvfb SIZE: an X display of the test's own (the first
# free number from :90), SIZE wide and high (1600x1000); sets DISPLAY and xvfb_pid, logs to
# $work/xvfb.log, and calls the script's fail when the server does not answer.
start_xvfb() {
  local n display=""
  for n in $(seq 90 120); do
    if [ ! -e "/tmp/.X11-unix/X$n" ] && [ ! -e "/tmp/.X$n-lock" ]; then display=":$n"; break; fi
  done
  [ -n "$display" ] || fail "no free X display number"
  Xvfb "$display" -screen 0 "${1}x24" -nolisten tcp > "$work/xvfb.log" 2>&1 &
  xvfb_pid=$!
  export DISPLAY=$display
  for _ in $(seq 1 50); do xdotool getdisplaygeometry > /dev/null 2>&1 && break; sleep 0.1; done
  xdotool getdisplaygeometry > /dev/null 2>&1 || fail "Xvfb did not start"
}
