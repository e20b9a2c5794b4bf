#!/bin/bash
# Builds a small 32-bit x86 guest with a prepared 32-bit Wine prefix, for run.sh.
# Nothing is emulated until the guest boots: packages are unpacked, not configured.
# A finished step leaves a file behind and is skipped by the next call; -f starts over.
# scripts/setup.sh installs what it needs.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
. "$here/common.sh"

[ "${1-}" != -f ] || rm -rf "$vm"
mkdir -p "$vm"
say() { echo "[$SECONDS s] $*" >&2; }
PATH=$PATH:/usr/sbin:/sbin

if [ ! -e "$vm/disk.raw" ]; then
  say "unpacking the guest's packages"
  root=$vm/root
  rm -rf "$root"
  mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Codename: bookworm' 'Component: main' | head -1)
  echo "deb $mirror bookworm main" |
    mmdebstrap --quiet --mode=root --variant=extract --architectures=i386 --skip=check/qemu \
      --include=wine32,libwine,libc-bin,busybox-static,linux-image-686 bookworm "$root" -
  kernel=$(basename "$root"/lib/modules/*)
  cp "$root/boot/vmlinuz-$kernel" "$vm/vmlinuz"
  depmod -b "$root" "$kernel"

  say "packing the boot archive"
  boot=$vm/initrd.d
  rm -rf "$boot"
  mkdir -p "$boot"/{bin,dev,proc,sys,root}
  cp "$root/bin/busybox" "$boot/bin/"
  for m in virtio_pci virtio_blk crc32c_generic ext4 9pnet_virtio 9p binfmt_misc; do
    grep "/$m\.ko:" "$root/lib/modules/$kernel/modules.dep" | tr -d : | tr ' ' '\n' | tac
  done | awk '!seen[$0]++' | while read -r m; do
    cp "$root/lib/modules/$kernel/$m" "$boot/"
    basename "$m" >>"$boot/modules"
  done
  cp "$here/guest/boot" "$boot/init"
  (cd "$boot" && find . | cpio --quiet -o -H newc) >"$vm/initrd"

  say "trimming the guest and writing its disk"
  rm -rf "$root"/{boot,lib/modules} "$root"/usr/share/{doc,man,locale,i18n,perl,zoneinfo}
  dlls=$root/usr/lib/i386-linux-gnu/wine/i386-windows
  cp "$root/usr/i686-w64-mingw32/lib/zlib1.dll" "$dlls/" # user32 needs it; its package puts it elsewhere
  # One file a call: given several, strip writes the later ones with a file alignment that cannot be mapped.
  find "$dlls" -type f ! -name '*16' ! -name '*.vxd' ! -name '*.tlb' -print0 |
    xargs -0 -n1 -P"$(nproc)" i686-w64-mingw32-strip
  mkdir -p "$root"/{proc,sys,root,tmp,usr/local/bin}
  echo 'root:x:0:0:root:/root:/bin/sh' >"$root/etc/passwd"
  echo 'root:x:0:' >"$root/etc/group"
  echo '127.0.0.1 localhost guest' >"$root/etc/hosts"
  cp "$here/guest/main" "$root/sbin/init"
  for t in regsvr32 cscript wscript rundll32 reg regedit wineboot; do
    printf '#!/bin/sh\nexec wine %s "$@"\n' $t >"$root/usr/local/bin/$t"
  done
  printf '#!/bin/sh\nexec wine cmd "$@"\n' >"$root/usr/local/bin/cmd"
  chmod +x "$root"/usr/local/bin/* "$root/sbin/init" # before the links, which lead nowhere outside the guest
  ln -s /usr/lib/wine/wine /usr/lib/wine/wineserver "$root/usr/local/bin/"
  rm -f "$vm/disk.raw.new"
  mke2fs -q -t ext4 -O ^has_journal,^metadata_csum -m 0 -d "$root" "$vm/disk.raw.new" 2G
  mv "$vm/disk.raw.new" "$vm/disk.raw"
  rm -rf "$root" "$boot"
fi

empty=$vm/empty
mkdir -p "$empty"
disk=(-drive "file=$vm/disk.raw,format=raw,if=virtio")

if [ ! -e "$vm/prefix" ]; then
  say "first boot: making the Wine prefix"
  machine "$empty" "$empty" "$vm/prefix.log" "${disk[@]}" -append "$append do=prefix" -serial "file:$vm/prefix.out" </dev/null
  grep -q 'prefix made' "$vm/prefix.out" || { tail "$vm/prefix.log" "$vm/prefix.out" >&2; exit 1; }
  touch "$vm/prefix"
fi

# The state holds the memory of a guest with Wine's services up; the disk must stay as it was at that moment.
if [ ! -e "$vm/ready" ]; then
  say "second boot: warming up and freezing the guest"
  rm -f "$vm/warm.out"
  {
    for _ in $(seq 300); do
      sleep 1
      ! grep -qs '^warm' "$vm/warm.out" || break
    done
    # Stopped first: what a running guest writes to its memory meanwhile can be missed.
    printf '%s\n' stop 'migrate_set_parameter max-bandwidth 100G' "migrate \"exec:zstd -q -3 -T0 -f -o '$vm/state.zst'\"" quit
  } | machine "$empty" "$empty" "$vm/warm.log" "${disk[@]}" -append "$append do=warm" -serial "file:$vm/warm.out" \
    -global migration.store-global-state=off -monitor stdio >"$vm/monitor.out"
  grep -q '^warm' "$vm/warm.out" && [ -s "$vm/state.zst" ] || { tail "$vm/warm.log" "$vm/warm.out" "$vm/monitor.out" >&2; exit 1; }
  touch "$vm/ready"
fi
say "done"
