#!/usr/bin/env bash
# What dmu-host check says of plugins that are known.
#
#   check_test.sh DMU_HOST good PLUGIN [SKIPPED...]   every rule passes, or is skipped when it is named, and has a fault
#   check_test.sh DMU_HOST fault PLUGIN RULE SAYS     the rule fails and says that
set -euo pipefail
host=$1 question=$2

complain() {
  printf '%s\n' "$@"
  exit 1
}

case $question in
  good)
    output=$("$host" check --plugin "$3" 2>&1) || (($# > 3)) || complain "$output"
    maySkip=$(IFS='|' && echo "${*:4}")
    others=$(grep -Ev "^pass |^skip  (${maySkip:-none}) |: [0-9]+ pass, 0 fail, [0-9]+ skipped$|^dmu-host: management library: " \
      <<<"$output") && complain "$others"
    diff --label 'rules' --label 'rules with a fault' \
      <(sed -nE 's/^(pass|skip) +([a-z]+\.[^ ]*) .*/\2/p' <<<"$output" | sort) \
      <(sed -nE 's/^FAULT\([A-Za-z]+, "([^"]*)".*/\1/p' "$(dirname "$0")"/broken_plugins/*_faults.cpp | sort -u)
    ;;
  fault)
    output=$("$host" check --plugin "$3" "$4" 2>&1) && complain "expected exit status 1" "$output"
    line=$(grep "^fail  $4 " <<<"$output") || complain "expected $4 to fail" "$output"
    [[ $line == *"$5"* ]] || complain "expected it to say: $5" "$output"
    ;;
esac
