#!/bin/sh
# Walks through a first budget on a virtual display, with real keys and clicks, and leaves the budget file and a picture
# of every window behind.
#   tour.sh PROGRAM FOLDER [WIDTHxHEIGHT]
set -eu
program=$(realpath "$1")
mkdir -p "$2"
folder=$(realpath "$2")
size="${3:-1280x800}"
rm -f "$folder"/*.png "$folder"/*.pdf "$folder"/*.mdb "$folder"/*.mdb-log

number=90
while [ -e "/tmp/.X11-unix/X$number" ] || [ -e "/tmp/.X$number-lock" ]; do
    number=$((number + 1))
done
export DISPLAY=":$number" QT_QPA_PLATFORM=xcb LC_ALL=C.UTF-8
unset WAYLAND_DISPLAY
Xvfb "$DISPLAY" -screen 0 "${size}x24" -nolisten tcp >/dev/null 2>&1 &
server=$!
application=""
cleanup() {
    [ -z "$application" ] || kill "$application" 2>/dev/null || true
    kill "$server" 2>/dev/null || true
}
trap cleanup EXIT INT TERM
for _ in 1 2 3 4 5 6 7 8 9 10; do
    [ -e "/tmp/.X11-unix/X$number" ] && break
    sleep 0.5
done
openbox >/dev/null 2>&1 &
for _ in 1 2 3 4 5 6 7 8 9 10; do
    xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q "window id" && break
    sleep 0.5
done

fail() {
    echo "The walk stopped: $1" >&2
    import -window root "$folder/stopped.png" 2>/dev/null || true
    exit 1
}
# A window whose title matches, within ten seconds.
window() {
    for _ in $(seq 1 50); do
        if xdotool search --onlyvisible --name "$1" >/dev/null 2>&1; then
            sleep 0.4
            return 0
        fi
        sleep 0.2
    done
    fail "no window \"$1\""
}
gone() {
    for _ in $(seq 1 50); do
        xdotool search --onlyvisible --name "$1" >/dev/null 2>&1 || { sleep 0.3; return 0; }
        sleep 0.2
    done
    fail "the window \"$1\" stays"
}
key() { xdotool key --delay 60 "$@"; sleep 0.3; }
text() { xdotool type --delay 15 -- "$1"; sleep 0.2; }
picture() { import -window root "$folder/$1.png"; }
start() {
    "$program" &
    application=$!
    window "^Coinvale"
    xdotool search --onlyvisible --name "^Coinvale" windowactivate --sync
}
quit() {
    key alt+f
    key x
    wait "$application" || fail "the program ended with an error"
    application=""
}
envelope() {
    key alt+e
    key a
    window "^Add Envelope"
    text "$1"
    key Tab
    text "$2"
}

start
picture 01-start
key alt+f
picture 02-file-menu
key n
window "^New Coinvale Database"
text "$folder/Home.mdb"
picture 03-new
key Return
gone "^New Coinvale Database"
quit

start
key alt+f
key o
window "^Open"
text "$folder/Home.mdb"
key Return
window "^Coinvale - Home.mdb"
picture 04-empty-budget
envelope "Rent" "850"
picture 05-add-envelope
key Return
gone "^Add Envelope"
for pair in "Groceries 300" "Savings 1200.75" "Car 95.5"; do
    envelope "${pair% *}" "${pair#* }"
    key Return
    gone "^Add Envelope"
done
picture 06-envelopes

envelope "rent" ""
key Return
window "^Error naming Envelope"
picture 07-refusal
key Return
gone "^Error naming Envelope"
key Escape
gone "^Add Envelope"

# Items of the envelope that was added last: a payment, a deposit and a transfer, all by keyboard.
item() { # number payee amount
    key alt+i
    key a
    window "^Add Item"
    key Tab
    text "$1"
    key Tab
    text "$2"
    key Tab
    text "$3"
}
item "101" "Garage & Sons" "45.50"
picture 10-add-item
key Return
gone "^Add Item"
item "" "Refund" "20"
key Tab
key space
key Return
gone "^Add Item"
item "" "To the savings" "30"
key Tab Tab Tab
text "Sav"
picture 11-transfer
key Return
gone "^Add Item"
picture 12-items
key alt+i
key r
key alt+i
key f
window "^Find Item"
text "garage"
key Tab
key P
key Tab
key A
key Tab
key U
key alt+f
picture 13-find
key Escape
gone "^Find Item"
key alt+i
key e
window "^Edit Item"
picture 14-edit-item
key Escape
gone "^Edit Item"

# The tree has the focus; F2 edits the label of the selected envelope.
key F2
key ctrl+a
text "Car & Bicycle"
key Return
picture 15-renamed
key Delete
window "^Confirm Envelope Delete"
picture 16-delete-question
key Tab
key Return
gone "^Confirm Envelope Delete"

key alt+t
key e
window "^Envelope Stuffer"
picture 17-stuffer
key Tab
for amount in 300 850 200; do
    key F2
    window "^Edit Budget"
    text "$amount"
    [ "$amount" = 300 ] && picture 18-edit-budget
    key Return
    gone "^Edit Budget"
    key Down
done
key alt+s
window "^Do Budget"
picture 19-stuffed
key Return
gone "^Do Budget"
key Escape
gone "^Envelope Stuffer"

key alt+t
key r
window "^Reports"
picture 20-reports
key Return
window "^Envelope Report"
picture 21-envelope-report
key ctrl+s
window "^Save as PDF"
key ctrl+a
text "$folder/Envelope Report.pdf"
key Return
gone "^Save as PDF"
key Escape
gone "^Envelope Report"
for report in Items Stuffer Summary; do
    key alt+o
    key Down
    key Return
    window "^$report Report"
    picture "22-$report-report"
    key Escape
    gone "^$report Report"
done
key F1
window "^Coinvale Help"
picture 23-help
key Escape
gone "^Coinvale Help"
xdotool search --onlyvisible --name "^Reports" windowactivate --sync
key Escape
gone "^Reports"

key alt+t
key d
window "^Compact Database"
picture 24-compacted
key Return
gone "^Compact Database"
key alt+h
key a
window "^About Coinvale"
picture 25-about
key Return
gone "^About Coinvale"
quit
echo "The budget, a report and the pictures are in $folder"
