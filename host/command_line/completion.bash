# shellcheck shell=bash
# bash completion of dmu-host, which itself knows what can follow. In the package it is where bash-completion looks for it;
# without that, source it: . completion.bash

_dmu_host() {
  local line=${COMP_LINE:0:COMP_POINT}
  mapfile -t COMPREPLY < <("${1/#\~\//$HOME/}" --complete "$line" "$2" 2>/dev/null)
  # A slash alone stands for any file, and so does a redirection.
  if [[ ${COMPREPLY[*]} == / || ${COMP_WORDS[COMP_CWORD - 1]} == *[\<\>]* ]]; then
    COMPREPLY=()
    compopt -o default
  fi
}
complete -F _dmu_host dmu-host
