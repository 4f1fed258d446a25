#!/usr/bin/env bash
# What the built plugin shows to a linker: elf_test.sh identity|needed|exports|versions|paths PLUGIN new|old
# The search paths are looked at in every file that is built beside the plugin.
# Each question prints what differs (< expected, > found) or what goes too far, and fails.
set -euo pipefail
question=$1 plugin=$2 stringLayout=$3

sameLines() { diff <(printf '%s\n' "$@") -; }

# versionsBeyond PREFIX LIMIT: the symbol versions of that prefix that the plugin needs and that are newer than the limit.
versionsBeyond() {
  objdump -T "$plugin" | grep -o "$1_[0-9.]*" | sort -u | while read -r version; do
    [[ $(printf '%s\n' "$1_$2" "$version" | sort -V | tail -n 1) == "$1_$2" ]] || echo "$version"
  done
}

# searchPath FILE: its search path in brackets, if it has one.
searchPath() { readelf -d "$1" | sed -nE 's/.*\((RPATH|RUNPATH)\).*(\[.*\])/\2/p'; }

isElf() { [[ $(head -c 4 "$1" | tr -d '\0') == $'\x7fELF' ]]; }

case $question in
  identity)
    { readelf -h "$plugin"; readelf -d "$plugin"; } |
      sed -nE 's/^ *(Class|Machine|Type): *//p; s/.*\(SONAME\).*\[(.*)\]/\1/p' |
      sameLines ELF32 "DYN (Shared object file)" "Intel 80386" dmu-veltrane-plugin.so
    ;;
  needed)
    allowed=(libvmkmgmt.so libstdc++.so.6 libm.so.6 libgcc_s.so.1 libc.so.6)
    [[ $stringLayout == new ]] || allowed+=(libpthread.so.0)
    needed=$(readelf -d "$plugin" | sed -nE 's/.*\(NEEDED\).*\[(.*)\]/\1/p')
    grep -qx libvmkmgmt.so <<<"$needed" || { echo "libvmkmgmt.so is not needed"; exit 1; }
    ! grep -vxF "$(printf '%s\n' "${allowed[@]}")" <<<"$needed"
    ;;
  exports)
    nm -D -C --defined-only "$plugin" | cut -d ' ' -f 3- | LC_ALL=C sort -u |
      diff "$(dirname "$0")/exported_symbols.txt" -
    ;;
  versions)
    beyond=$(versionsBeyond GLIBC 2.17; versionsBeyond GLIBCXX 3.4.19; versionsBeyond CXXABI 1.3.7)
    [[ -z $beyond ]] || { echo "$beyond"; objdump -T "$plugin" | grep -F "$beyond"; exit 1; }
    ;;
  paths)
    path=$(searchPath "$plugin")
    [[ -z $path ]] || { echo "$plugin: a search path of its own: $path"; exit 1; }
    checked=0 wrong=0
    while IFS= read -r file; do
      isElf "$file" || continue
      checked=$((checked + 1))
      path=$(searchPath "$file")
      # An empty element is the current directory.
      [[ ! $path =~ (\[|:)(:|\]) ]] || { echo "$file: $path"; wrong=1; }
    done < <(find "$(dirname "$plugin")" -type f -not -path '*/CMakeFiles/*')
    ((checked >= 4 && !wrong)) || { echo "$checked files looked at"; exit 1; }
    ;;
esac
