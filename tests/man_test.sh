#!/usr/bin/env bash
# Compares the manual pages in docs/man/ with what they are made from: dmu-host(1) with the program's own command line,
# dmu-topology(5) with docs/topology.md. Both must pass man without a warning.
#
#   man_test.sh BUILD_DIR            fails with the difference
#   man_test.sh BUILD_DIR --update   writes the pages instead
set -euo pipefail

buildDir=$(readlink -f "$1")
mode=${2:-compare}
project=$(dirname "$(dirname "$(readlink -f "$0")")")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

"$buildDir/dmu-host" --man >"$folder/dmu-host.1"
awk -f "$project/docs/man/dmu-topology.awk" "$project/docs/topology.md" >"$folder/dmu-topology.5"

for page in dmu-host.1 dmu-topology.5; do
  LC_ALL=C.UTF-8 man --warnings -Tutf8 -l "$folder/$page" 2>"$folder/warnings" >"$folder/text" || true
  if [[ -s $folder/warnings || ! -s $folder/text ]]; then
    echo "$page:"
    cat "$folder/warnings"
    exit 1
  fi
  if [[ $mode == --update ]]; then
    cp "$folder/$page" "$project/docs/man/$page"
  else
    diff -u --label "docs/man/$page" --label made "$project/docs/man/$page" "$folder/$page"
  fi
done
