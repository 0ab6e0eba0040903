#!/bin/bash
# SPDX-License-Identifier: MIT
# simple-scan on a screen of its own: starts it, presses a key that scans, and waits for what the log then says.
# usage: simple_scan.sh FOLDER KEY LOG-TEXT       leaves log and screen.png in the folder
set -euo pipefail
folder=$1
key=$2
end=$3
log=$folder/log

says() { grep -qF -- "$1" "$log"; }
wait_until() { until "$@"; do sleep 0.1; done; }

: >"$log"
simple-scan --debug >"$folder/messages" 2>"$log" &
program=$!
trap 'kill $program 2>/dev/null || true' EXIT

window=$(xdotool search --sync --onlyvisible --name 'Document Scanner' | head -n 1)
xdotool windowsize --sync "$window" 1000 800
xdotool windowfocus --sync "$window"
wait_until says 'Device: name='

# A key is not heard before the program shows the scanner.
until says 'Requesting scan'; do
    xdotool key "$key"
    sleep 1
done

wait_until says "$end"
wait_until says 'Autosaving page pixels'
# What is drawn is in no log.
sleep 2
import -window root "$folder/screen.png"
