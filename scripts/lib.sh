# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# What the scripts share: finding and installing tools, and building. Sourced; expects `set -euo pipefail`.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '== %s\n' "$*"; }

# True if the tool named is here. gtest and benchmark have no command: their headers tell. clang++ must have the
# runtime of its sanitizers.
have_tool() {
  case $1 in
    clang++) echo 'int main() {}' | clang++ -x c++ -fsanitize=thread - -o /dev/null 2>/dev/null ;;
    gtest | benchmark) command -v g++ >/dev/null && g++ -E -x c++ -include "$1/$1.h" /dev/null >/dev/null 2>&1 ;;
    *) command -v "$1" >/dev/null ;;
  esac
}

debian_package() {
  case $1 in
    clang++) echo clang libclang-rt-dev ;;
    gtest | benchmark) echo "lib$1-dev" ;;
    *) echo "$1" ;;
  esac
}

# require_tools TOOL... installs the missing ones on Debian and its kin; elsewhere it names them and stops.
require_tools() {
  local tool missing=() as_root=()
  for tool in "$@"; do
    # shellcheck disable=SC2207
    have_tool "$tool" || missing+=($(debian_package "$tool"))
  done
  ((${#missing[@]})) || return 0
  if [[ ! -e /etc/debian_version ]] || ! command -v apt-get >/dev/null; then
    echo "missing (under Debian's package names): ${missing[*]}; install them and start again" >&2
    exit 1
  fi
  if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
      echo "missing: ${missing[*]}; run 'apt-get install ${missing[*]}' as root and start again" >&2
      exit 1
    fi
    as_root=(sudo)
  fi
  say "installing ${missing[*]}"
  "${as_root[@]}" apt-get update -q
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -qy --no-install-recommends "${missing[@]}"
}

# build FOLDER CMAKE-OPTION... builds the checkout in FOLDER (below the root), from where the last build stopped.
build() {
  local folder=$1
  shift
  say "building in $folder/"
  cmake -S "$root" -B "$root/$folder" "$@"
  cmake --build "$root/$folder" --parallel "$(nproc)"
}

# The optimised programs, without the tests.
build_release() {
  require_tools g++ cmake make
  build build -DCMAKE_BUILD_TYPE=Release -DORVELLE_TESTS=OFF
}
