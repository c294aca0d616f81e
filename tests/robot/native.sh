#!/bin/sh
# The robot with real keys, on a display of its own.
#   native.sh ROBOT DELAY STEPS [SEED]     DELAY: milliseconds between two keys
set -eu
number=70
while [ -e "/tmp/.X11-unix/X$number" ] || [ -e "/tmp/.X$number-lock" ]; do
    number=$((number + 1))
done
export DISPLAY=":$number" QT_QPA_PLATFORM=xcb LC_ALL=C.UTF-8 TZ=UTC QT_STYLE_OVERRIDE=Fusion
export COINVALE_KEYS="$2" COINVALE_ROBOT_STEPS="$3" COINVALE_ROBOT_SEED="${4:-1}" QTEST_FUNCTION_TIMEOUT=3000000
unset WAYLAND_DISPLAY
Xvfb "$DISPLAY" -screen 0 1280x900x24 -nolisten tcp >/dev/null 2>&1 &
server=$!
manager=""
trap 'kill $manager $server 2>/dev/null || true' EXIT INT TERM
for _ in 1 2 3 4 5 6 7 8 9 10; do
    [ -e "/tmp/.X11-unix/X$number" ] && break
    sleep 0.5
done
openbox >/dev/null 2>&1 &
manager=$!
# A window that is there before its manager is never given the keyboard.
for _ in $(seq 40); do
    xdotool get_num_desktops >/dev/null 2>&1 && break
    sleep 0.5
done
"$1"
