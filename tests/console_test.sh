#!/usr/bin/env bash
# Runs the commands that a Markdown file shows and compares what they print with what the file shows.
#
#   console_test.sh BUILD_DIR FILE            fails with the difference
#   console_test.sh BUILD_DIR FILE --update   writes what they print into the file instead
#
# An indented line that begins with "$ " is a command for the shell, together with lines right below it that begin with
# "> "; the indented lines below these are its output, errors included. Commands run in a folder of their own, one after
# the other, with the programs of the build on PATH, the project's examples/ and tests/ at hand. Times, durations of
# commands and blank lines are not compared.
set -euo pipefail

buildDir=$(readlink -f "$1")
file=$(readlink -f "$2")
mode=${3:-compare}
project=$(dirname "$(dirname "$(readlink -f "$0")")")
record=$(mktemp -d)
folder=$(mktemp -d)
shellCommand=  # while it runs
exec {complaints}>&2

leave() {
  [[ -z $shellCommand ]] || {
    echo "$file: line $((pageLine + 1)): this command ended the shell of the page: $shellCommand"
    cat "$record/output"
  } >&"$complaints"
  rm -rf "$folder" "$record"
}
trap leave EXIT
cd "$folder"
ln -s "$project/examples" "$project/tests" .
export PATH="$buildDir:$PATH" TZ=UTC LC_ALL=C.UTF-8 NO_COLOR=1 TERM=xterm

# What differs from one machine or run to the next is made equal.
normalise() {
  sed -E -e '/^[[:space:]]*$/d' \
    -e 's/[0-9]{4}-[0-9]{2}-[0-9]{2}([ T])[0-9]{2}:[0-9]{2}:[0-9]{2}/DATE\1TIME/g' \
    -e 's/ +[0-9]+ us$/ N us/' -e 's/("microseconds": )[0-9]+/\1N/'
}

# The output of the last command, indented as the file shows it.
lastOutput() {
  sed -e 's/^/    /' -e 's/ *$//' -e "s|$buildDir|BUILD|g" -e "s|$folder|FOLDER|g" "$record/output"
}

inOutput=false
blanks=  # blank lines in or below an output: they are its own when more of it follows
mapfile -t pageLines <"$file"
for ((pageLine = 0; pageLine < ${#pageLines[@]}; ++pageLine)); do
  line=${pageLines[pageLine]}
  if [[ $line == '    $ '* ]]; then
    shellCommand=${line#'    $ '}
    while [[ ${pageLines[pageLine + 1]-} == '    > '* ]]; do
      line+=$'\n'${pageLines[pageLine += 1]}
      shellCommand+=$'\n'${pageLines[pageLine]#'    > '}
    done
    printf '%s%s\n' "$blanks" "$line" >>"$record/updated"
    printf '%s\n' "$line" | tee -a "$record/shown" >>"$record/printed"
    eval "$shellCommand" >"$record/output" 2>&1 </dev/null || true
    shellCommand=
    lastOutput | tee -a "$record/printed" >>"$record/updated"
    inOutput=true blanks=
  elif [[ $inOutput == true && -z $line ]]; then
    blanks+=$'\n'
  elif [[ $inOutput == true && $line == '    '* ]]; then
    printf '%s\n' "$line" >>"$record/shown"
    blanks=
  else
    printf '%s%s\n' "$blanks" "$line" >>"$record/updated"
    inOutput=false blanks=
  fi
done

[[ -s $record/shown ]] || {
  echo "$file shows no command"
  exit 1
}
if [[ $mode == --update ]]; then
  cp "$record/updated" "$file"
else
  diff -u --label shown <(normalise <"$record/shown") --label printed <(normalise <"$record/printed")
fi
