#!/usr/bin/env bash
# waiting_test.sh BUILD_DIR rounds|progress: what a person sees who waits for dmu-host: rounds of --watch on a terminal; or
# the progress of a slow run, the rules of a check one by one, and what an interrupted command says.
set -euo pipefail
PATH=$(readlink -f "$1"):$PATH
project=$(dirname "$(dirname "$(readlink -f "$0")")")
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT
cd "$work"
unset NO_COLOR
export TERM=xterm TZ=UTC LC_ALL=C.UTF-8

fail() {
  echo "$1; there is:"
  cat -v "$2"
  exit 1
}

# await FILE PATTERN [LINES]: waits for the pattern in a file that grows, on so many lines.
await() {
  local tries=600
  while [[ ! -e $1 ]] || (($(grep -cE "$2" "$1") < ${3-1})); do
    ((--tries)) || fail "nothing like \"$2\"" "$1"
    sleep 0.1
  done
}

# has FILE TEXT WHAT, lacks FILE TEXT WHAT
has() { grep -qF -- "$2" "$1" || fail "$3" "$1"; }
lacks() { ! grep -qF -- "$2" "$1" || fail "$3" "$1"; }

# slowed TOPOLOGY COMMAND MS: one that takes its time.
slowed() { sed "s/\"faults\": \[/&{\"call\": \"$2\", \"delayMs\": $3},/" "$1"; }

readonly reverse=$'\e[7m' plain=$'\e[27m' leave=$'\e[?1049l'

cp "$project/examples/degraded-topology.json" topology.json

seeRounds() {
  # A drive gets warmer between two rounds. Ctrl-C leaves the last table, without marks.
  mkfifo keys
  script -qefc 'dmu-host --topology topology.json temperature data --watch=31' /dev/null <keys >watched &
  exec 5>keys
  await watched missing
  sed -i 's/"currentTemperature": 31/"currentTemperature": 44/' topology.json
  await watched missing 2
  printf '\003' >&5
  status=0
  wait $! || status=$?
  exec 5>&-
  ((status == 130)) || fail "a watch that was interrupted ended with status $status" watched
  has watched "${reverse}44$plain" "the warmer drive is not marked"
  has watched "${reverse}16$plain" "nor what is left of its margin"
  [[ $(grep -oF "$reverse" watched | wc -l) == 2 ]] || fail "more than that is marked" watched
  tail -n 6 watched | tr -d '\r' >left
  head -n 1 left | grep -qF "${leave}dmu-host temperature, " || fail "the last table does not stand on the user's screen" watched
  diff <(tail -n +2 left | sed 's/\x1b\[[01]*m//g') <(dmu-host --topology topology.json temperature data)
}

seeProgress() {
  # The snapshot of a slow controller is told of on standard error, and wiped away again; not in a pipe.
  slowed topology.json any 300 >slow.json
  script -qefc 'dmu-host --topology slow.json list >table' /dev/null </dev/null >seen
  has seen 'devices of vmhba1: ' "nothing was seen of a slow run's progress"
  [[ $(tr '\r' '\n' <seen | tail -n 1) == $'\e[K' ]] || fail "it does not end with an empty line" seen
  dmu-host --topology topology.json list | diff - table
  dmu-host --topology slow.json list 2>&1 >table | diff /dev/null -

  # A command that is interrupted finishes its disk, says what was switched and what was not. (A shell like this one starts
  # what runs beside it with SIGINT ignored.)
  slowed "$project/tests/console/small.json" blinkDriveTrayLed 2000 >slow.json
  for signal in TERM INT; do
    rm -f switched  # or the last round's would be awaited
    env --default-signal=INT dmu-host --topology slow.json --show-commands locate --all on >switched 2>&1 &
    await switched senseBlinkDriveLed
    kill -$signal $!
    status=0
    wait $! || status=$?
    ((status == 1)) || fail "a command interrupted by $signal ended with status $status" switched
    has switched 'interrupted; not switched: ' "it does not say what was not switched"
    has switched ' until ' "it does not say what was"
  done

  # Each rule stands as soon as it is decided.
  dmu-host check >rules 2>&1 &
  await rules '^pass '
  kill -0 $! || fail "the first rule was told with the last one" rules
  kill $!
}

case $2 in
  rounds) seeRounds ;;
  progress) seeProgress ;;
  *)
    echo "usage: waiting_test.sh BUILD_DIR rounds|progress" >&2
    exit 2
    ;;
esac
