# Debian packages that building and testing need, and the step that installs the missing ones.
# Sourced by ./demo, ./test and ./bench; asks the package manager only when something is missing.

build_packages=(
  build-essential cmake ninja-build ccache pkg-config
  libsqlite3-dev libcurl4-openssl-dev libssl-dev nettle-dev zlib1g-dev libplist-dev libsimdjson-dev libicu-dev
  nlohmann-json3-dev python3
  libcairo2-dev libpango1.0-dev libgdk-pixbuf-2.0-dev fonts-inter fonts-dejavu-core fonts-noto-color-emoji
)
test_packages=(
  libgtest-dev libgmock-dev openssl sqlite3 gzip
  clang-16 clang-format-16 clang-tidy-16 libclang-rt-16-dev
)
bench_packages=(libbenchmark-dev libwebkitgtk-6.0-dev xvfb xauth dbus)

# require_packages PACKAGE...: installs what is missing, as root or through sudo, or says what to install.
require_packages() {
  local missing=() package
  for package in "$@"; do
    [ "$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null)" = "install ok installed" ] || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null 2>&1 || ! sudo -n true 2>/dev/null; then
      echo "These Debian packages are missing and may not be installed from here: ${missing[*]}" >&2
      echo "Install them with: apt-get install --no-install-recommends ${missing[*]}" >&2
      return 1
    fi
    as_root=(sudo)
  fi
  echo "Installing missing Debian packages: ${missing[*]}"
  "${as_root[@]}" apt-get update -qq || echo "The package lists could not be refreshed; trying with the old ones." >&2
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" >/dev/null
}

# build_preset PRESET [TARGET...]: configures once, then builds.
build_preset() {
  local preset=$1
  shift
  [ -f "build/$preset/build.ninja" ] || cmake --preset "$preset" >/dev/null || return 1
  cmake --build --preset "$preset" ${1:+--target "$@"} -- --quiet
}
