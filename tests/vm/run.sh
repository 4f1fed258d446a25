#!/usr/bin/env bash
# run.sh BUILD_DIR: boots a small virtual machine with disks of virtio-scsi and of scsi_debug and lets dmu-host and the
# plugin, as built there for 32 bits, read their serial numbers: from a kernel that this project did not write.
#
# Each disk is reached in three ways: as a link to its block node, as a block node of its own and as a generic node.
# Both answers are held against the serial number page as the kernel keeps it.
set -euo pipefail

readonly build=$1
here=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root

fail() {
  printf '%s: %s\n' "$0" "$*" >&2
  exit 1
}

kernel=$(printf '%s\n' /boot/vmlinuz-*-cloud-amd64 | sort -V | tail -n 1)
[[ -r $kernel ]] || fail "no kernel /boot/vmlinuz-*-cloud-amd64"
modules=/lib/modules/${kernel#/boot/vmlinuz-}

mkdir -p "$root"/{bin,dmu,lib,modules}
cp /bin/busybox "$root/bin/"
cp "$here/init" "$root/init"

# The modules that the disks need, in the order in which they depend on each other; scsi_debug is loaded last, by init.
for module in virtio_pci virtio_scsi sd_mod sg scsi_debug; do
  modprobe --set-version "${kernel#/boot/vmlinuz-}" --show-depends "$module" | sed -n 's/^insmod \([^ ]*\).*/\1/p'
done | awk '!seen[$0]++' | while read -r file; do
  cp "$file" "$root/modules/"
  [[ $file == */scsi_debug.ko ]] || basename "$file" >>"$root/modules/order"
done
[[ -s $root/modules/order ]] || fail "no modules for the disks in $modules"

# dmu-host as on a real host: the management library is there, and without a driver behind it.
cp "$build"/{dmu-host,dmu-veltrane-plugin.so} "$root/dmu/"
g++ -m32 -shared -fPIC -Wl,-soname,libvmkmgmt.so -o "$root/dmu/libvmkmgmt.so" -x c++ - <<'CODE'
#include <cstdint>
extern "C" uint32_t vmk_MgmtUserInit(const void*, uint64_t, void**) { return 1; }
extern "C" int32_t vmk_MgmtUserDestroy(void*) { return 1; }
extern "C" int32_t vmk_MgmtUserCallbackInvokeInt(void*, uint64_t, uint64_t, uint32_t, ...) { return 1; }
CODE
for library in ld-linux.so.2 libc.so.6 libm.so.6 libstdc++.so.6 libgcc_s.so.1; do
  path=$(g++ -m32 -print-file-name="$library")
  cp -L "$path" "$root/lib/$library"
done

(cd "$root" && find . -print0 | cpio --null --create --format=newc --quiet | gzip -1) >"$work/initrd"
for disk in 1 2 3; do
  truncate -s 4M "$work/disk$disk"
done

timeout 300 qemu-system-x86_64 -M q35 -accel tcg -cpu max -m 512 -nographic -no-reboot -net none \
  -kernel "$kernel" -initrd "$work/initrd" -append "console=ttyS0 panic=-1 quiet" \
  -device virtio-scsi-pci \
  -drive "id=one,if=none,format=raw,file=$work/disk1" -device scsi-hd,drive=one,serial=S7P3X0Q1 \
  -drive "id=two,if=none,format=raw,file=$work/disk2" -device scsi-hd,drive=two,serial=ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 \
  -drive "id=three,if=none,format=raw,file=$work/disk3" -device "scsi-hd,drive=three,serial=WITH BLANK" \
  </dev/null | tr -d "\r" >"$work/console" || fail "the machine did not switch itself off: $(tail -n 20 "$work/console")"
grep -qx DONE "$work/console" || fail "the machine did not come to its end: $(tail -n 20 "$work/console")"

# The text of a serial number page in hexadecimal: its bytes after leading blanks, up to the first that is no visible ASCII.
serialOf() {
  local hex=${1:8} text='' byte
  while [[ -n $hex ]]; do
    byte=$((16#${hex:0:2}))
    hex=${hex:2}
    ((byte != 32 || ${#text} != 0)) || continue
    ((byte > 32 && byte < 127)) || break
    text+=$(printf '%b' "\\x$(printf %x "$byte")")
  done
  printf '%s' "$text"
}

checked=0
wrong=0
while read -r _ name page host plugin; do
  expected=$(serialOf "${page#page=}")
  verdict=right
  if [[ -z $expected || ${host#host=} != "$expected" || ${plugin#plugin=} != "$expected" ]]; then
    verdict="WRONG: the page says $expected"
    wrong=$((wrong + 1))
  fi
  printf '%-10s %-45s %-45s %s\n' "$name" "$host" "$plugin" "$verdict"
  checked=$((checked + 1))
done < <(grep '^DISK ' "$work/console")
((checked == 15)) || fail "$checked nodes were asked, not 15 (three a disk): $(tail -n 20 "$work/console")"
((wrong == 0)) || fail "$wrong of $checked answers are wrong"
printf '%s nodes of 5 disks: every serial number is right\n' "$checked"
