#!/usr/bin/env bash
# package_test.sh BUILD_DIR: packs what is built there, unpacks it into an empty folder and uses it from there: dmu-host
# lists what the build's own does, with the plugin and the simulated host of the package; the example of a host is built.
set -euo pipefail

readonly build=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cpack --config "$build/CPackConfig.cmake" -B "$work" >"$work/log" || {
  cat "$work/log"
  exit 1
}
dpkg-deb --extract "$work"/*.deb "$work/tree"
dpkg-deb --info "$work"/*.deb | grep -E '^ (Architecture|Depends):' | diff - <(cat <<FIELDS
 Architecture: amd64
 Depends: libc6-i386 (>= $(getconf GNU_LIBC_VERSION | cut -d ' ' -f 2)), lib32gcc-s1, lib32stdc++6 (>= $(g++ -dumpversion))
FIELDS
)
(cd "$work/tree" && find . ! -type d | grep -vE '/(docs|examples)/' | sort) | diff - <(cat <<'FILES'
./usr/bin/dmu-host
./usr/include/dmu/plugin.h
./usr/lib/dmu-veltrane-plugin/dmu-check-host.so
./usr/lib/dmu-veltrane-plugin/dmu-host
./usr/lib/dmu-veltrane-plugin/dmu-veltrane-plugin.so
./usr/lib/dmu-veltrane-plugin/simulated-host/libvmkmgmt.so
./usr/lib/dmu-veltrane-plugin/simulated-host/vmkload_mod
./usr/share/bash-completion/completions/dmu-host
./usr/share/doc/dmu-veltrane-plugin/README.md
./usr/share/doc/dmu-veltrane-plugin/changelog.Debian.gz
./usr/share/doc/dmu-veltrane-plugin/changelog.gz
./usr/share/doc/dmu-veltrane-plugin/copyright
./usr/share/doc/dmu-veltrane-plugin/simulator/built_in_topology.json
./usr/share/lintian/overrides/dmu-veltrane-plugin
./usr/share/man/man1/dmu-host.1.gz
./usr/share/man/man5/dmu-topology.5.gz
FILES
)
# The notices of the two libraries whose code is in it.
[[ $(grep -cE '^Upstream-Name: (CLI11|nlohmann-json)$' "$work/tree/usr/share/doc/dmu-veltrane-plugin/copyright") == 2 ]]
cd /
"$work/tree/usr/bin/dmu-host" list | diff - <("$build/dmu-host" list)
home=$work/tree/usr/lib/dmu-veltrane-plugin
[[ $(readelf -d "$home/dmu-veltrane-plugin.so" | grep -cE 'RPATH|RUNPATH') == 0 ]]
"$work/tree/usr/bin/dmu-host" plugin | sed -n '1p;s/^  library *//p' |
  diff - <(printf '%s\n' "$home/dmu-veltrane-plugin.so" "$home/simulated-host/libvmkmgmt.so (simulated host)")

# The example is built and run by the command lines that it shows, on nothing but what is in the package.
mkdir "$work/build"
ln -s "$work/tree/usr/include" "$work/tree/usr/share/doc/dmu-veltrane-plugin/examples" "$work"
ln -s "$home" "$work/build/release"
ln -s simulated-host/libvmkmgmt.so "$home"
cd "$work"
sed -n 's|^//   ||p' examples/minimal-host.cpp >shown
bash -eu shown | diff - <(cat <<'OUTPUT'
dmu-veltrane-plugin 1.0.0
volume of 4 drives, RAID level code 5
port:box:bay 1I:1:3
port:box:bay 1I:1:4
port:box:bay 1I:1:5
port:box:bay 1I:1:6
OUTPUT
)

# The same host, checked: the checker finds the plugin beside it.
LD_LIBRARY_PATH=build/release ./minimal-host build/release/dmu-check-host.so naa.6a1b2c0000000201 vmhba2 1 1 0 2>&1 >/dev/null |
  grep -qF "$home/dmu-veltrane-plugin.so: 4 calls, 1 handles opened, 0 left open, 4 location texts handed out; 0 breaches found"
