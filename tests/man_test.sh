#!/usr/bin/env bash
# Compares the manual pages in docs/man/ with what they are made from: dmu-host(1) with the program's own command line,
# dmu-topology(5) with docs/topology.md. Both must pass mandoc's checks and man, in narrow terminals too, without a word.
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
header=$(sed -n 's/^\.TH [^ ]* 1 //p' "$folder/dmu-host.1") \
  awk -f "$project/docs/man/dmu-topology.awk" "$project/docs/topology.md" >"$folder/dmu-topology.5"

# complaintsOf PAGE: a clock that is behind is no fault of the page's.
complaintsOf() {
  local columns
  mandoc -T lint "$1" 2>&1 | grep -v 'date in the future' || true
  for columns in 60 80; do
    LC_ALL=C.UTF-8 MANWIDTH=$columns man --warnings -E UTF-8 -l "$1" 2>&1 >"$folder/text" | sed "s/^/$columns columns: /"
    [[ -s $folder/text ]] || echo "$columns columns: no text"
  done
}

for page in dmu-host.1 dmu-topology.5; do
  complaints=$(complaintsOf "$folder/$page")
  [[ -z $complaints ]] || {
    printf '%s:\n%s\n' "$page" "$complaints"
    exit 1
  }
  if [[ $mode == --update ]]; then
    cp "$folder/$page" "$project/docs/man/$page"
  else
    diff -u --label "docs/man/$page" --label made "$project/docs/man/$page" "$folder/$page"
  fi
done
