# shellcheck shell=bash disable=SC2154
# Builds the driver module, the phone's programs and the initramfs that holds them.
# Sourced by script/kernel-phone, which sets root, arch, cache, headers_dir and the functions die and say.

native() { [[ $arch == "$(dpkg --print-architecture)" ]]; }

# Prefix of the compiler and its tools for the phone's instruction set.
tools() { native || echo "$1-linux-gnu-"; }

gnu_name() { if [[ $arch == arm64 ]]; then echo aarch64; else echo x86_64; fi; }

# Runs a build step quietly; what it said is shown when it fails.
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
  # The kernel's build wants all sources in one folder; unchanged files keep their time stamps, and so stay built.
  copy_changed "$folder" "$root"/kernel_phone/module/* "$root"/virtual_phone/radio*.[ch]
  step module make -C "$headers_dir" ARCH=$kernel_arch CROSS_COMPILE="$cross" KCFLAGS=-Werror M="$folder" modules
  "${cross}strip" --strip-debug -o "$cache/$arch/orva_wlan.ko" "$folder/orva_wlan.ko"
}

# Copies files into a folder where they differ from what is there.
copy_changed() {
  local folder=$1 file
  shift
  for file in "$@"; do
    cmp -s "$file" "$folder/${file##*/}" || cp "$file" "$folder/"
  done
}

# Where the console is built: for this machine, or for the phone where that is another one.
build_folder() { if native; then echo "$cache/host"; else echo "$cache/$arch/programs"; fi; }

build_programs() {
  local options=()
  native || options=(--toolchain "$root/cmake/aarch64-linux-gnu.cmake" "-DORVA_SYSROOT=$cache/$arch/sysroot")
  build_console "$(build_folder)" orva-station-kernel "${options[@]}"
  step driver_check "$(tools "$(gnu_name)")gcc" -std=gnu11 -O2 -Wall -Wextra -Werror \
    -o "$cache/$arch/driver_check" "$root/kernel_phone/phone/driver_check.c"
}

# The station console on this machine, with the virtual phone: what the real kernel's record is compared with.
build_host() { build_console "$cache/host" orva-station; }

build_console() {
  local folder=$1 target=$2
  shift 2
  step configure cmake -S "$root" -B "$folder" -G Ninja -DCMAKE_BUILD_TYPE=Release -DORVA_TESTS=OFF "$@"
  step "$target" ninja -C "$folder" wifi_factory_test_orva "$target"
}

# One of the things built for the phone, by its file name.
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

# What a program asks the loader for: the loader itself and the libraries by name.
asks_for() {
  readelf -dl "$1" | sed -n -e 's/.*interpreter: \(.*\)\]/\1/p' -e 's/.*(NEEDED).*\[\(.*\)\]/\1/p'
}

# Copies a program's loader and libraries into the image, and what those need in turn.
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
  # BusyBox's own shell prefers its applets to the programs on the path, and it has an svc of another kind.
  install -m 755 "$cache/$arch/kernel/bin/dash" "$image/bin/dash"
  copy_needs "$image/bin/dash"
  # popen and the library's shell runner each have their own idea where the shell is.
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

build_image() {
  image=$cache/$arch/root
  rm -rf "$image"
  mkdir -m 755 "$image"
  mkdir -p "$image"/{dev,proc,sys,tmp,etc,results,system/bin,system/lib}
  library_folders
  copy_busybox
  copy_tcl
  install -m 755 "$root/kernel_phone/phone/init" "$image/init"
  install -m 755 "$root"/kernel_phone/phone/{netcfg,svc,wpa_cli_orva,run_plan} "$image/system/bin/"
  install -m 644 "$root/kernel_phone/phone/welcome" "$image/etc/welcome"
  install -m 644 "$cache/$arch/orva_wlan.ko" "$image/system/lib/"
  install -m 755 "$cache/$arch/driver_check" "$image/system/bin/"
  local file
  for file in "$(built libwifi_factory_test_orva.so)" "$(built libvirtual_phone_platform.so)"; do
    install -m 755 "$file" "$image/system/lib/"
    copy_needs "$file"
  done
  install -m 755 "$(built orva-station-kernel)" "$image/system/bin/orva-station"
  copy_needs "$image/system/bin/orva-station"
  copy_needs "$image/system/bin/driver_check"
  pack "$image" "$cache/$arch/image.cpio.gz"
}

# Packs a folder as an initramfs that belongs to root.
pack() {
  (cd "$1" && find . -print0 | LC_ALL=C sort -z | cpio --quiet --null -o -H newc -R 0:0 | gzip -6) >"$2"
}
