#!/usr/bin/env bash
# What dmu-host check says of plugins that are known.
#
#   check_test.sh DMU_HOST good PLUGIN [SKIPPED...]   every rule passes, or is skipped when it is named, and has a fault
#   check_test.sh DMU_HOST fault PLUGIN RULE          the rule fails and says what broken_plugins/said.txt has, in which
#                                                     * stands for what differs from run to run
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
      <(sed -nE 's/^FAULT\([A-Za-z]+, "([^"]*)"\).*/\1/p' "$(dirname "$0")"/broken_plugins/*_faults.cpp | sort -u)
    ;;
  fault)
    output=$("$host" check --plugin "$3" "$4" 2>&1) && complain "expected exit status 1" "$output"
    line=$(grep "^fail  $4 " <<<"$output") || complain "expected $4 to fail" "$output"
    says=$(sed -n "s/^$(basename "$3" .so)  //p" "$(dirname "$0")"/broken_plugins/said.txt)
    # shellcheck disable=SC2053  # a pattern
    [[ -n $says && $line == "fail  $4  "$says ]] || complain "expected it to say: $says" "$output"
    ;;
esac
