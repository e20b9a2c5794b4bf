# What build-image.sh and run.sh share: where the image lies and how the guest is started.
vm=$(realpath -m "${VM32_DIR:-$here/../../build/windows32}")

# machine EXCHANGE WORK LOG QEMU-ARGS...: starts the guest. It sees the host folder EXCHANGE over 9p,
# WORK as well but read-only, writes its kernel's messages to LOG and talks through the second serial port.
machine() {
  local exchange=${1//,/,,} work=${2//,/,,} log=$3
  shift 3
  qemu-system-i386 -machine pc-i440fx-7.2 -accel tcg,thread=multi,tb-size=512 -smp 2 -m 512 \
    -nodefaults -display none -no-reboot -serial "file:$log" \
    -virtfs "local,path=$exchange,mount_tag=exchange,security_model=none" \
    -virtfs "local,path=$work,mount_tag=work,security_model=none,readonly=on" \
    -kernel "$vm/vmlinuz" -initrd "$vm/initrd" "$@"
}
append="console=ttyS0 mitigations=off no_timer_check tsc=reliable random.trust_cpu=on"
