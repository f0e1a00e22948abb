# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash disable=SC2034,SC2154
# Downloads the kernel, its headers and the phone's programs from Debian, and unpacks without installing them.
# Sourced by script/kernel-phone, which sets arch, cache and the functions skip and say.

# The console's build dependencies.
console_packages=(tcl-dev tcl8.6-dev libsqlite3-dev libedit-dev libtinyxml2-dev libtomlplusplus-dev libfmt-dev
  nlohmann-json3-dev nettle-dev)

# Gives apt package lists of its own, so that the machine's architectures and lists stay unchanged.
apt_options=()
prepare_apt() {
  local apt="$cache/$arch/apt" name
  mkdir -p "$apt/lists/partial" "$apt/cache/archives/partial"
  apt_options=(-qq -o "Dir::State::Lists=$apt/lists" -o "Dir::Cache=$apt/cache" -o APT::Sandbox::User=)
  for name in "$(dpkg --print-architecture)" "$arch"; do
    apt_options+=(-o "APT::Architectures::=$name")
  done
}

# Packages that this machine needs to build and to boot the phone.
native_packages() {
  echo cmake ninja-build pkg-config g++ libasio-dev make bc cpio libelf1 python3 m4 checkpolicy
  case $arch in
  arm64) echo qemu-system-arm g++-aarch64-linux-gnu libc6-dev-arm64-cross ;;
  amd64) echo qemu-system-x86 ;;
  esac
  echo "${console_packages[@]}"
}

missing_packages() {
  local name
  for name in $(native_packages); do
    [[ $(dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null) == installed ]] || echo "$name"
  done
}

install_native() {
  local missing
  mapfile -t missing < <(missing_packages)
  ((${#missing[@]})) || return 0
  local as_root=()
  if [[ $(id -u) != 0 ]]; then
    sudo -n true 2>/dev/null || skip "these packages are missing and only root can install them: ${missing[*]}"
    as_root=(sudo -n)
  fi
  # Never remove an installed package: gcc-multilib, for one, conflicts with cross compilers.
  local install=(env DEBIAN_FRONTEND=noninteractive apt-get -qq install -y --no-install-recommends --no-remove)
  say "installing ${missing[*]}"
  {
    "${as_root[@]}" "${install[@]}" "${missing[@]}" ||
      { "${as_root[@]}" apt-get -qq update && "${as_root[@]}" "${install[@]}" "${missing[@]}"; }
  } >"$cache/install.log" 2>&1 ||
    skip "Debian's packages cannot be installed here: ${missing[*]} (see $cache/install.log)"
}

# The dependency of a package whose name carries the kernel's version.
versioned_dependency() {
  apt-cache "${apt_options[@]}" depends "$1" 2>/dev/null | sed -n "s/^ *Depends: *\($2[^:]*\).*/\1/p" | head -n 1
}

download() {
  local folder=$1
  shift
  (cd "$folder" && apt-get "${apt_options[@]}" download "$@")
}

# Unpacks packages into a folder. FOLDER.packages lists them once the folder is complete.
unpack() {
  local folder=$1
  shift
  [[ -f $folder.packages && $(<"$folder.packages") == "$*" ]] && return 0
  say "getting $*"
  rm -rf "$folder.packages" "$folder" "$folder.debs"
  mkdir -p "$folder" "$folder.debs"
  download "$folder.debs" "$@" >"$folder.log" 2>&1 ||
    { update_lists && download "$folder.debs" "$@" >"$folder.log" 2>&1; } ||
    skip "Debian's packages cannot be downloaded here (see $folder.log)"
  local deb
  for deb in "$folder.debs"/*.deb; do
    dpkg-deb -x "$deb" "$folder"
  done
  rm -rf "$folder.debs"
  echo "$*" >"$folder.packages"
}

fetch_kernel() {
  local headers abi
  headers=$(versioned_dependency "linux-headers-cloud-$arch:$arch" 'linux-headers-')
  [[ $headers ]] || skip "Debian has no package linux-headers-cloud-$arch here"
  abi=${headers#linux-headers-}
  local common kbuild
  common=linux-headers-${abi%-cloud-"$arch"}-common
  kbuild=$(versioned_dependency "$headers:$arch" 'linux-kbuild-')
  unpack "$cache/$arch/kernel" "linux-image-$abi:$arch" "$headers:$arch" "$common" \
    "$kbuild:$(dpkg --print-architecture)" "busybox-static:$arch" "dash:$arch"

  local tree=$cache/$arch/kernel
  headers_dir=$tree/usr/src/$headers
  vmlinuz=$tree/boot/vmlinuz-$abi
  # The package expects to be in /usr/src.
  echo "include $tree/usr/src/$common/Makefile" >"$headers_dir/Makefile"
}

# The libraries that packages depend on, without those of the compiler.
libraries_of() {
  apt-cache "${apt_options[@]}" depends "$@" | sed -n 's/^ *Depends: *\([^<]*\)$/\1/p' |
    sed "s/:$arch\$//" | grep -E '^z?lib' | grep -vE '^(libc6|libgcc|libstdc|libcrypt)' || true
}

# The console's packages with all their libraries.
sysroot_packages() {
  local new=("${console_packages[@]}") found name
  declare -A known=()
  while ((${#new[@]})); do
    for name in "${new[@]}"; do known[$name]=1; done
    mapfile -t found < <(libraries_of "${new[@]/%/:$arch}")
    new=()
    for name in "${found[@]}"; do
      [[ ${known[$name]:-} ]] || new+=("$name")
    done
  done
  printf '%s\n' "${!known[@]}" | sort
}

fetch_sysroot() {
  [[ $arch != "$(dpkg --print-architecture)" ]] || return 0
  local name names=()
  for name in $(sysroot_packages); do
    # A package for all architectures is named without one.
    [[ $name == nlohmann-json3-dev ]] || name=$name:$arch
    names+=("$name")
  done
  unpack "$cache/$arch/sysroot" "${names[@]}"
}

update_lists() {
  apt-get "${apt_options[@]}" -o APT::Update::Error-Mode=any update >"$cache/$arch/apt/update.log" 2>&1
}

# Updates the package lists once a day. Without a network, older lists are good enough.
refresh_lists() {
  local stamp=$cache/$arch/apt/fresh
  [[ -z $(find "$stamp" -mmin -1440 2>/dev/null) ]] || return 0
  if update_lists; then
    touch "$stamp"
  elif [[ ! -f $stamp ]]; then
    skip "Debian's package lists cannot be fetched here (see $cache/$arch/apt/update.log)"
  fi
}

fetch_packages() {
  command -v apt-get >/dev/null || skip "this machine has no apt-get; the phone is made from Debian's packages"
  mkdir -p "$cache/$arch"
  install_native
  prepare_apt
  refresh_lists
  fetch_kernel
  fetch_sysroot
}
