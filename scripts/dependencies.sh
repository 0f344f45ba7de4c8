#!/usr/bin/env bash
# Debian packages that building, testing and measuring need, and the step that installs the missing ones.
#   scripts/dependencies.sh            installs what building needs, as root or through sudo
#   scripts/dependencies.sh --list     prints it
# Sourced by ./demo, ./test and ./bench; asks the package manager only when something is missing.

build_packages=(
  build-essential cmake ninja-build ccache pkg-config
  libsqlite3-dev libcurl4-openssl-dev libssl-dev nettle-dev zlib1g-dev libplist-dev libsimdjson-dev libicu-dev
  nlohmann-json3-dev python3 curl
  libcairo2-dev libpango1.0-dev libgdk-pixbuf-2.0-dev fonts-inter fonts-dejavu-core fonts-noto-color-emoji
)
test_packages=(
  libgtest-dev libgmock-dev openssl sqlite3 gzip tzdata python3-jsonschema
  clang-16 clang-format-16 clang-tidy-16 libclang-rt-16-dev
)
# For the comparison with a web view alone.
webview_packages=(libwebkitgtk-6.0-dev xvfb xauth dbus)

# print_help: the comment at the head of the script that runs.
print_help() {
  sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$(basename "$0")"
}

# refuse_arguments: says on standard error how the script is called, and ends it.
refuse_arguments() {
  print_help >&2
  exit 2
}

# require_packages PACKAGE...: installs what is missing, as root or through sudo, or says what to install.
require_packages() {
  local missing=() package
  for package in "$@"; do
    [ "$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null)" = "install ok installed" ] || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    if ! sudo -n true 2>/dev/null && ! { [ -t 0 ] && sudo -v; }; then
      echo "These Debian packages are missing and may not be installed from here: ${missing[*]}" >&2
      echo "Install them with: apt-get install --no-install-recommends ${missing[*]}" >&2
      return 1
    fi
    as_root=(sudo)
  fi
  echo "Installing missing Debian packages, which may take minutes: ${missing[*]}"
  "${as_root[@]}" apt-get update -qq || echo "The package lists could not be refreshed; trying with the old ones." >&2
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" >/dev/null
}

# build_preset PRESET [TARGET...]: configures where that is due, then builds.
build_preset() {
  local preset=$1
  shift
  configure_preset "$preset" || return 1
  echo "Building ${*:-everything} in build/$preset; the first time takes minutes"
  NINJA_STATUS='[%p] ' cmake --build --preset "$preset" ${1:+--target "$@"} | thin_progress
  return "${PIPESTATUS[0]}"
}

# A configuration has looked for what was installed then: it is due again whenever other packages are.
configure_preset() {
  local build=build/$1 packages
  packages=$(dpkg-query -W -f='${Package} ${Version} ${db:Status-Status}\n' \
    "${build_packages[@]}" "${test_packages[@]}" "${webview_packages[@]}" 2>/dev/null || true)
  [ -f "$build/build.ninja" ] && [ "$packages" = "$(cat "$build/packages" 2>/dev/null)" ] && return 0
  echo "Configuring build/$1"
  cmake --preset "$1" >/dev/null && echo "$packages" >"$build/packages"
}

# Of the build's lines one for each tenth of the work, and whatever a step has to say.
thin_progress() {
  local line next=0
  while IFS= read -r line; do
    if [[ $line =~ ^\[\ *([0-9]+)%\] ]]; then
      [ "${BASH_REMATCH[1]}" -ge "$next" ] || continue
      next=$((BASH_REMATCH[1] / 10 * 10 + 10))
      line="  ${BASH_REMATCH[1]} %"
    fi
    [[ $line = "ninja: no work to do." || $line = "-- "* ]] || printf '%s\n' "$line"
  done
}

if [ "${BASH_SOURCE[0]}" = "$0" ]; then
  set -euo pipefail
  cd "$(dirname "$0")"
  case $* in
    "") require_packages "${build_packages[@]}" ;;
    --list) echo "${build_packages[@]}" ;;
    -h | --help) print_help ;;
    *) refuse_arguments ;;
  esac
fi
