#!/usr/bin/env bash
# trace_flag_test.sh BUILD_DIR: the plugin's trace is switched on and off while dmu-host runs. It must run alone: there is
# one such switch for all programs.
set -euo pipefail
PATH=$(readlink -f "$1"):$PATH
project=$(dirname "$(dirname "$(readlink -f "$0")")")
readonly trace=/tmp/veltrane_plugin_debug
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work" "$trace"' EXIT

fail() {
  echo "$1"
  exit 1
}

[[ ! -e $trace ]] || fail "somebody traces: $trace is there"

sed 's/"faults": \[/&{"call": "any", "delayMs": 500},/' "$project/examples/degraded-topology.json" >"$work/slow.json"
dmu-host --topology "$work/slow.json" list >"$work/table" &
sleep 0.5
[[ ! -e $trace ]] || fail "a trace that is off is written"

: >"$trace"
tries=100
while [[ ! -s $trace ]]; do
  ((--tries)) || fail "a trace that was switched on is not written"
  sleep 0.1
done

sleep 0.2  # now the next command is waited for, and no line is being written
rm "$trace"
sleep 1
kill -0 $! || fail "the run ended too early to tell"
[[ ! -e $trace ]] || fail "a trace that was switched off is made anew"
wait
dmu-host --topology "$project/examples/degraded-topology.json" list | diff - "$work/table"
