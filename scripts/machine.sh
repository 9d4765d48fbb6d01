# SPDX-License-Identifier: GPL-3.0-or-later
# A virtual machine for tests that need a kernel of their own: sequencer, sound cards and USB devices come and go there as they
# please. Debian's kernel, unpacked and not installed, sees this system's files, can't change them, and has no network.
# Sourced by ./test.

machine=$PWD/build/machine
# What the machine may write; it is /run/shared there.
machine_shared=$machine/shared

prepare_machine() {
    local kernel
    PATH=$PATH:/usr/sbin:/sbin
    mkdir -p "$machine_shared" && kernel=$(kernel_package) && unpack_package "$kernel" && unpack_package busybox-static &&
        make_initrd "$machine/$kernel" && ln -sfn "$kernel" "$machine/kernel"
}

# The kernel that Debian would install today; without the lists of packages, the one used last.
kernel_package() {
    local name
    name=$(current_kernel)
    [[ -n $name ]] || name=$(readlink "$machine/kernel") || { as_root apt-get -q update >&2 && name=$(current_kernel); }
    [[ -n $name ]] && printf '%s\n' "$name"
}

current_kernel() {
    LC_ALL=C apt-cache depends linux-image-amd64 2>/dev/null | awk '$1 == "Depends:" && $2 ~ /^linux-image-/ { print $2; exit }'
}

# Leaves the package's files in a folder of its name, as any user may.
unpack_package() {
    local new=$machine/unpacked
    [[ ! -d $machine/$1 ]] || return 0
    rm -rf "$new" && mkdir -p "$new" || return
    # The lists may be older than the last security update.
    (cd "$new" && { apt-get -q download "$1" || { as_root apt-get -q update && apt-get -q download "$1"; }; } &&
        dpkg -x ./*.deb . && rm ./*.deb) && mv "$new" "$machine/$1"
}

# make_initrd KERNEL: the first process, busybox, and the modules that bring the machine to life.
make_initrd() {
    local kernel=$1 root=$machine/initrd version
    version=$(basename "$kernel"/lib/modules/*)
    rm -rf "$root" && mkdir -p "$root"/{bin,proc,sys,dev,host,changes,new} && cp "$machine/busybox-static/bin/busybox" "$root/bin" &&
        install -m 755 Tests/Machine/init "$root/init" && cp Tests/Machine/modules "$root/modules" &&
        copy_modules "$kernel" "$version" "$root" &&
        (cd "$root" && find . | cpio --quiet -o -H newc -R 0:0 | gzip -1) >"$machine/initrd.gz"
}

copy_modules() {
    local kernel=$1 version=$2 root=$3 file
    mkdir -p "$root/lib/modules/$version"
    cp "$kernel/lib/modules/$version"/modules.{builtin,builtin.modinfo,order} "$root/lib/modules/$version" || return
    depmod -b "$kernel" "$version" || return
    xargs -n 1 modprobe -d "$kernel" -S "$version" --show-depends <Tests/Machine/modules |
        awk '$1 == "insmod" { print $2 }' | sort -u | while read -r file; do
        install -D -m 644 "$file" "$root/lib/modules/$version/${file#*"/lib/modules/$version/"}" || return
    done
    depmod -b "$root" "$version"
}

# in_machine COMMAND...: runs it there as root, in this folder, for ten minutes at most. Its status is the command's. Hardware
# acceleration is not asked for: inside of another virtual machine it may be there and yet be slower than none.
in_machine() {
    rm -f "$machine_shared/status"
    printf 'cd %q && exec %s\n' "$PWD" "${*@Q}" >"$machine_shared/command"
    timeout --kill-after=10 "${ZELVANE_MACHINE_SECONDS:-600}" qemu-system-x86_64 -nodefaults -nographic -no-reboot \
        -accel tcg,thread=multi -machine q35 -cpu max -smp 2 -m 1024 -serial stdio \
        -kernel "$machine"/kernel/boot/vmlinuz-* -initrd "$machine/initrd.gz" \
        -append "console=ttyS0 quiet panic=-1" \
        -virtfs local,path=/,mount_tag=host,security_model=none,readonly=on,multidevs=remap \
        -virtfs "local,path=$machine_shared,mount_tag=shared,security_model=none" </dev/null 2>&1 | tr -d '\r'
    [[ $(cat "$machine_shared/status" 2>/dev/null) == 0 ]]
}

# run_machine_tests BUILD-FOLDER: those that ctest keeps for the machine.
run_machine_tests() {
    [[ -f $1/.built ]] || { echo "Not run, because the build failed."; return 1; }
    rm -f "$machine_shared/results.xml"
    in_machine ctest --test-dir "$1" -C Machine -L machine --no-tests=error --output-on-failure \
        --output-junit /run/shared/results.xml
    local status=$?
    [[ ! -f $machine_shared/results.xml ]] || cp "$machine_shared/results.xml" "$results"
    return "$status"
}
