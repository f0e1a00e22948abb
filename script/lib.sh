# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# Sourced first by the shell scripts: strict mode, --help, messages, and the list of chips. The script then runs in the
# root of the tree.
set -euo pipefail

# Prints the header comment of a script, which is its help.
print_help() { sed -n '2,${/^#/!q; /SPDX-License-Identifier/d; s/^# \{0,1\}//; p}' "$1"; }

if [ "${1:-}" = --help ]; then
  print_help "$0"
  exit
fi

self=$(basename "$(dirname "$(realpath "$0")")")/$(basename "$0")
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# The chips in sub-chip order.
# shellcheck disable=SC2034
mapfile -t chips <chips/chips.txt

say() { echo "$self: $*"; }
# Ends the script because its job failed.
die() {
  echo "$self: $*" >&2
  exit 1
}
# Ends the script because it was called wrongly.
misuse() {
  echo "$self: $*; see $self --help" >&2
  exit 2
}

no_arguments() { [ $# -eq 0 ] || misuse "'$1': it takes no arguments"; }

# Configures a build folder: configure FOLDER OPTION... The checks build with warnings as errors.
configure() {
  local folder=$1
  shift
  cmake -S . -B "$folder" -G Ninja -DORVA_WERROR=ON "$@" >/dev/null
}
