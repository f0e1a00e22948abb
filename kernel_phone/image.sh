# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash disable=SC2154
# Builds the driver module, the phone's programs and the initramfs that holds them.
# Sourced by script/kernel-phone, which sets root, arch, cache, headers_dir and the functions die and say.

# The same folder as the preset release has, so that nothing is built twice.
host_build=$root/build/release

native() { [[ $arch == "$(dpkg --print-architecture)" ]]; }

# Prefix of the compiler and its tools for the phone's instruction set.
tools() { native || echo "$1-linux-gnu-"; }

gnu_name() { if [[ $arch == arm64 ]]; then echo aarch64; else echo x86_64; fi; }

# Runs a build step quietly and shows its output only if it fails.
step() {
  local log=$cache/$arch/$1.log
  shift
  "$@" >"$log" 2>&1 || {
    tail -n 40 "$log" >&2
    die "this failed: $*"
  }
}

build_module() {
  local folder=$cache/$arch/module kernel_arch=x86 cross
  [[ $arch == amd64 ]] || kernel_arch=arm64
  cross=$(tools "$(gnu_name)")
  mkdir -p "$folder"
  # The kernel's build wants all sources in one folder. Unchanged files keep their time stamps and are not rebuilt.
  copy_changed "$folder" "$root"/kernel_phone/module/* "$root"/virtual_phone/radio*.[ch]
  step module make -C "$headers_dir" ARCH=$kernel_arch CROSS_COMPILE="$cross" KCFLAGS=-Werror M="$folder" modules
  "${cross}strip" --strip-debug -o "$cache/$arch/orva_wlan.ko" "$folder/orva_wlan.ko"
}

# Copies those files into a folder that differ from what is there.
copy_changed() {
  local folder=$1 file
  shift
  for file in "$@"; do
    cmp -s "$file" "$folder/${file##*/}" || cp "$file" "$folder/"
  done
}

# Build folder of the console for the phone, which is this machine's own if both have the same architecture.
build_folder() { if native; then echo "$host_build"; else echo "$cache/$arch/programs"; fi; }

build_programs() {
  local options=()
  native || options=(-DORVA_TESTS=OFF --toolchain "$root/cmake/aarch64-linux-gnu.cmake" "-DORVA_SYSROOT=$cache/$arch/sysroot")
  configure_console "$(build_folder)" "${options[@]}"
  build_targets "$(build_folder)" orva-station-kernel orva-station-phone
  step driver_check "$(tools "$(gnu_name)")gcc" -std=gnu11 -O2 -Wall -Wextra -Werror \
    -I"$root" \
    -o "$cache/$arch/driver_check" "$root/kernel_phone/phone/driver_check.c" "$root/virtual_phone/radio_chips.c"
}

# The console with the virtual phone, for this machine: its results are compared with the real kernel's.
build_host() {
  configure_console "$host_build"
  build_targets "$host_build" orva-station
}

configure_console() {
  local folder=$1
  shift
  step configure cmake -S "$root" -B "$folder" -G Ninja -DCMAKE_BUILD_TYPE=Release "$@"
}

# The library, and these programs.
build_targets() {
  local folder=$1
  shift
  step "$1" ninja -C "$folder" wifi_factory_test_orva "$@"
}

# The path of a file built for the phone.
built() { find "$(build_folder)" -name "$1" -type f; }

library_folders() {
  local name
  name=$(gnu_name)-linux-gnu
  folders=("$(dirname "$(built libvirtual_phone_platform.so)")")
  if native; then
    folders+=("/usr/lib/$name" "/lib/$name" /lib64)
  else
    folders+=("$cache/$arch/sysroot/usr/lib/$name" "$cache/$arch/sysroot/lib/$name" "/usr/$name/lib")
  fi
}

# The loader and the libraries that a program needs.
asks_for() {
  readelf -dl "$1" | sed -n -e 's/.*interpreter: \(.*\)\]/\1/p' -e 's/.*(NEEDED).*\[\(.*\)\]/\1/p'
}

# Copies a program's loader and libraries into the image, with the libraries that those need.
copy_needs() {
  local name source
  for name in $(asks_for "$1"); do
    local target=$image/system/lib/${name##*/}
    [[ $name != /* ]] || target=$image$name
    [[ ! -e $target ]] || continue
    source=$(find_library "${name##*/}") || die "$1 needs $name, which is not among the unpacked packages"
    install -D -m 755 "$source" "$target"
    copy_needs "$source"
  done
}

find_library() {
  local folder
  for folder in "${folders[@]}"; do
    [[ ! -e $folder/$1 ]] || { echo "$folder/$1" && return; }
  done
  return 1
}

copy_busybox() {
  install -D -m 755 "$cache/$arch/kernel/bin/busybox" "$image/bin/busybox"
  local name
  for name in mount hostname ifconfig insmod rmmod lsmod cat ls dmesg tar gzip base64 poweroff setsid cttyhack \
    grep sed awk sort head tail cut tr printf sleep usleep date rm mkdir cp mv echo kill ps timeout true false env vi \
    less od hexdump uname; do
    ln -s busybox "$image/bin/$name"
  done
  # BusyBox's shell prefers its applets to the programs in PATH, and its svc is another program than ours.
  install -m 755 "$cache/$arch/kernel/bin/dash" "$image/bin/dash"
  copy_needs "$image/bin/dash"
  # popen runs /bin/sh, the library /system/bin/sh.
  install -m 755 "$root/kernel_phone/phone/sh" "$image/bin/sh"
  install -m 755 "$root/kernel_phone/phone/sh" "$image/system/bin/sh"
}

copy_tcl() {
  local from=$cache/$arch/sysroot/usr/share/tcltk/tcl8.6 name
  ! native || from=/usr/share/tcltk/tcl8.6
  for name in init.tcl auto.tcl package.tcl tm.tcl word.tcl history.tcl parray.tcl tclIndex; do
    install -D -m 644 "$from/$name" "$image/usr/share/tcltk/tcl8.6/$name"
  done
}

# The sample policy on a stub of a platform's, with what this phone adds. What the stub does not name is allowed.
build_policy() {
  local stub=$root/tests/support/selinux sample=$root/android/sepolicy conf=$cache/$arch/policy.conf
  sed -e "/^@SAMPLE@/{r $sample/orva_factory_test.te
r $root/kernel_phone/phone/phone.te
d}" -e "/^@CONTEXTS@/{r $sample/genfs_contexts
d}" "$stub/base.conf" | m4 -Dvariant=userdebug "$stub/te_macros" - >"$conf"
  step policy checkpolicy -M -c 30 -U allow -o "$cache/$arch/policy" "$conf"
}

build_image() {
  image=$cache/$arch/root
  rm -rf "$image"
  mkdir -m 755 "$image"
  mkdir -p "$image"/{dev,proc,sys,tmp,etc,results,system/bin,system/lib}
  library_folders
  copy_busybox
  copy_tcl
  install -m 755 "$root/kernel_phone/phone/init" "$image/init"
  install -m 755 "$root"/kernel_phone/phone/{netcfg,svc,wpa_cli_orva,run_plan,confined} "$image/system/bin/"
  install -m 644 "$root/kernel_phone/phone/welcome" "$root/chips/chips.txt" "$image/etc/"
  install -m 644 "$cache/$arch/orva_wlan.ko" "$cache/$arch/policy" "$image/system/lib/"
  install -m 755 "$cache/$arch/driver_check" "$image/system/bin/"
  local file
  for file in "$(built libwifi_factory_test_orva.so)" "$(built libvirtual_phone_platform.so)"; do
    install -m 755 "$file" "$image/system/lib/"
    copy_needs "$file"
  done
  install -m 755 "$(built orva-station-kernel)" "$image/system/bin/orva-station"
  install -m 755 "$(built orva-station-phone)" "$image/system/bin/"
  copy_needs "$image/system/bin/orva-station"
  copy_needs "$image/system/bin/orva-station-phone"
  copy_needs "$image/system/bin/driver_check"
  pack "$image" "$cache/$arch/image.cpio.gz"
}

# Packs a folder as an initramfs owned by root.
pack() {
  (cd "$1" && find . -print0 | LC_ALL=C sort -z | cpio --quiet --null -o -H newc -R 0:0 | gzip -6) >"$2"
}
