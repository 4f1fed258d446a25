# shellcheck shell=bash
# What a shell makes of a line that is typed into it, where dmu-host's completion is known.

# typed LINE: the line once the tabulator was pressed, with | for the cursor.
typed() { press '\t' "$1"; }

# choices LINE: the line with everything in it that could follow.
choices() { press '\e*' "$1"; }

# press KEY LINE
press() {
  {
    cat <<'COMMANDS'
. tests/../host/command_line/completion.bash
show() { printf '%s|%s\n' "${READLINE_LINE:0:READLINE_POINT}" "${READLINE_LINE:READLINE_POINT}" >&3; READLINE_LINE=; }
bind -x '"\C-g": show'
COMMANDS
    printf '%s%b\a' "$2" "$1"
  } | HISTFILE=/dev/null INPUTRC=/dev/null bash --norc --noprofile -i 3>&1 >/dev/null 2>&1
}
