#!/usr/bin/env bash
# What the checker of hosts says of hosts that are known.
#
#   check_host_test.sh BUILD_DIR good [preloaded]          nothing of the example; every rule has a mistake
#   check_host_test.sh BUILD_DIR dmu-host                  nothing of dmu-host, whatever it does
#   check_host_test.sh BUILD_DIR setup                     how it is told its files, and what is wrong with these
#   check_host_test.sh BUILD_DIR mistake NAME RULE SAYS    that rule and no other, as text with that in it and as JSON
set -euo pipefail
build=$1 question=$2
project=$(dirname "$(dirname "$(readlink -f "$0")")")
checker=$build/dmu-check-host.so
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export LD_LIBRARY_PATH=$build
export ASAN_OPTIONS=${ASAN_OPTIONS-}:detect_leaks=0  # mistakes leave things behind
unset DMU_CHECK_HOST_PLUGIN DMU_CHECK_HOST_REPORT

complain() {
  printf '%s\n' "$@"
  exit 1
}

minimalHost() { "$build/minimal-host" "${1-$checker}" naa.6a1b2c0000000201 vmhba2 1 1 0; }

case $question in
  good)
    minimalHost >"$work/output" 2>"$work/report" || complain "it failed" "$(<"$work/report")"
    minimalHost "$build/dmu-veltrane-plugin.so" | diff - "$work/output"
    sed -E 's/process [0-9]+, plugin .*\//process N, plugin /' "$work/report" |
      diff - <(echo "dmu-check-host: process N, plugin dmu-veltrane-plugin.so: 4 calls, 1 handles opened, 0 left open, 4 location texts handed out; 0 breaches found")
    if [[ -n ${3-} ]]; then
      LD_PRELOAD=$checker minimalHost >/dev/null 2>"$work/report"
      grep -qF '4 location texts handed out, 0 of them not released; 0 breaches' "$work/report"
    fi
    diff --label rules --label 'rules with a mistake' \
      <(sed -nE 's/^ +\{Rule::[A-Za-z]+, "([^"]*)".*/\1/p' "$project/host_check/rules.cpp" | sort) \
      <(sed -nE 's/^MISTAKE\([A-Za-z]+, "([^"]*)".*/\1/p' "$project/tests/broken_hosts/mistakes.cpp" | sort -u)
    ;;
  dmu-host)
    for command in list 'location --all' 'temperature --all' 'info --all' 'locate --all on' 'cache --all on --yes' metrics inventory; do
      # shellcheck disable=SC2086  # a command and its options
      "$build/dmu-host" --plugin "$checker" $command >/dev/null 2>"$work/report" || complain "$command" "$(<"$work/report")"
      grep -q '^dmu-check-host: process .* [1-9][0-9]* calls, .*; 0 breaches found$' "$work/report" ||
        complain "$command" "$(<"$work/report")"
    done
    ;;
  setup)
    # A plugin that is named by a relative path; one that is not there; no plugin; the checker itself.
    (cd "$build" && DMU_CHECK_HOST_PLUGIN=dmu-veltrane-plugin.so minimalHost >/dev/null 2>&1)
    for named in "$work/absent.so: cannot open shared object" "$build/libvmkmgmt.so: it does not export DmuPluginInit" \
      "$checker: it is this library itself"; do
      ! DMU_CHECK_HOST_PLUGIN=${named%%: *} minimalHost >/dev/null 2>"$work/report" || complain "$named"
      grep -qF "${named#*: }" "$work/report" || complain "expected $named" "$(<"$work/report")"
    done
    # A report in the folder where the host began; one that cannot be written.
    (cd "$work" && DMU_CHECK_HOST_REPORT=report.json minimalHost >/dev/null 2>"$work/output")
    [[ ! -s $work/output ]] && grep -q '"findings": \[\]}$' "$work/report.json"
    DMU_CHECK_HOST_REPORT=$work/absent/report.json minimalHost >/dev/null 2>"$work/report"
    grep -q 'report.json: No such file.*as text' "$work/report"
    # A host that leaves without an end leaves what was found; a link to a report stays one.
    touch "$work/target.json"
    ln -s target.json "$work/link.json"
    for file in report link; do
      DMU_CHECK_HOST_REPORT=$work/$file.json "$build/tests/broken-host" "$checker" leftAtOnce
    done
    python3 - "$work/report.json" <<'END' || complain "$(<"$work/report.json")"
import json, sys
report = json.load(open(sys.argv[1]))
assert not report["ended"] and [finding["rule"] for finding in report["findings"]] == ["handle.closed-twice"]
END
    [[ -L $work/link.json && ! -s $work/target.json ]] || complain "link" "$(ls -l "$work")"
    DMU_CHECK_HOST_REPORT=$work/link.json minimalHost >/dev/null
    [[ -L $work/link.json ]] || complain "link" "$(ls -l "$work")"
    grep -q '"ended": true' "$work/target.json" || complain "$(<"$work/target.json")"
    # Names that would break JSON or steer a terminal.
    DMU_CHECK_HOST_REPORT=$work/report.json "$build/tests/broken-host" "$checker" strangeName
    grep -qF '"disk": "vmhba2 1:1:0 a\u001bc\ufffd\"\\é"' "$work/report.json" || complain "$(<"$work/report.json")"
    ;;
  mistake)
    name=$3 rule=$4 says=$5
    preload=()
    [[ $name != *Preloaded ]] || preload=(env "LD_PRELOAD=$checker")
    "${preload[@]}" "$build/tests/broken-host" "$checker" "$name" 2>"$work/text" || complain "exit status $?" "$(<"$work/text")"
    rules=$(sed -nE 's/^dmu-check-host: ([a-z]+\.[a-z-]+): .*/\1/p' "$work/text" | sort -u)
    # Who unloads it during an operation has not closed that handle either.
    [[ $rule != unload.in-use ]] || rules=$(grep -v '^handle.never-closed$' <<<"$rules")
    [[ $rules == "$rule" ]] || complain "expected $rule alone" "$(<"$work/text")"
    grep -qF -- "$says" "$work/text" || complain "expected it to say: $says" "$(<"$work/text")"
    DMU_CHECK_HOST_REPORT=$work/report.json "${preload[@]}" "$build/tests/broken-host" "$checker" "$name"
    # A child that was forked has a file of its own.
    cat "$work"/report.json* >"$work/json"
    grep -qF "\"rule\": \"$rule\"" "$work/json" || complain "$(<"$work/json")"
    places=$(grep -oE '"place": "[^"]*"' "$work/json")
    ! grep -vE '/broken-host\(\+0x[0-9a-f]+\)' <<<"$places" || complain "not in the host" "$(<"$work/json")"
    ;;
esac
