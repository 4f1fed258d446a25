#!/usr/bin/env bash
# state_lock_test.sh BUILD_DIR: twenty processes switch on one state file at once, on ten controllers and on one, and some
# are killed at random: nobody else's change is lost, and what comes next is not held up.
set -euo pipefail
PATH=$(readlink -f "$1"):$PATH
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
readonly processes=20 killed=5
RANDOM=${SEED:=$RANDOM}

complain() {
  printf '%s\n' "$@" "(SEED=$SEED)"
  exit 1
}

# topology CONTROLLERS: volumes v0 to v19, each of one drive, on that many controllers in turn.
topology() {
  local controller volume place drives volumes controllers=()
  for ((controller = 0; controller < $1; ++controller)); do
    drives=() volumes=()
    for ((volume = controller; volume < processes; volume += $1)); do
      place=$((volume / $1))
      drives+=("{\"bus\": 1, \"target\": $place, \"serial\": \"D$volume\", \"port\": \"1I\", \"box\": 1, \"bay\": $((place + 1)), \
        \"currentTemperature\": 30, \"maximumTemperature\": 60}")
      volumes+=("{\"number\": $place, \"device\": \"v$volume\", \"serial\": \"V$volume.\", \"raidLevel\": \"RAID 0\", \
        \"members\": [\"1:$place\"]}")
    done
    controllers+=("{\"hba\": \"vmhba$controller\", \"maxPhysDevicesSupported\": 64, \"maxPhysDrivesPerLogicalUnit\": 16, \
      \"maxLogicalDrivesSupported\": 32, \"drives\": [$(IFS=, && echo "${drives[*]}")], \
      \"volumes\": [$(IFS=, && echo "${volumes[*]}")]}")
  done
  echo "{\"controllers\": [$(IFS=, && echo "${controllers[*]}")]}"
}

simulated() { exec dmu-host --topology topology.json --state state.json "$@"; }

# tryOn CONTROLLERS
tryOn() {
  local number status pids=() switched=()
  topology "$1" >topology.json
  rm -f state.json
  for ((number = 0; number < processes; ++number)); do
    simulated cache "v$number" off >"output.$number" 2>&1 &
    pids+=($!)
  done
  for ((number = 0; number < killed; ++number)); do
    sleep "0.$((RANDOM % 5))"
    kill -KILL "${pids[RANDOM % processes]}" 2>/dev/null || true
  done
  for ((number = 0; number < processes; ++number)); do
    status=0
    wait "${pids[number]}" 2>/dev/null || status=$?
    ((status == 0 || status == 137)) || complain "v$number: status $status" "$(cat "output.$number")"
    ((status != 0)) || switched+=("v$number")
  done
  ((${#switched[@]} >= processes - killed)) || complain "${#switched[@]} of $processes were left alive"
  (simulated drives) | sed -nE 's/^(v[0-9]+) .* off$/\1/p' >off
  ! printf '%s\n' "${switched[@]}" | grep -vxFf off || complain "with $1 controllers, the changes above are lost"
  echo "$1 controllers: all of ${#switched[@]} changes are kept"
}

tryOn 10
tryOn 1

# Who only looks waits for nobody; who switches says so.
exec 9>>state.json.lock
flock 9
(simulated list 9>&- >looked) || complain "looking waits" "$(cat looked)"
simulated cache v0 on 9>&- >waited 2>&1 &
until grep -q '^dmu-host: state.json: another process is changing it; waiting for state.json.lock' waited; do
  kill -0 $! 2>/dev/null || complain "it does not wait, or does not say so" "$(cat waited)"
  sleep 0.1
done
flock -u 9
wait $! || complain "after it waited" "$(cat waited)"
