# Sourced by the other scripts: installs what they need and this machine lacks.

# need PACKAGE... : installs with apt those of the packages that are missing, and says so in a line.
need() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
      missing+=("$package")
  done
  [ "${#missing[@]}" -eq 0 ] && return 0
  echo "Installing ${missing[*]}"
  local log
  log=$(mktemp)
  if ! { apt-get update -qq && DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    return 1
  fi
  rm -f "$log"
}

need_build_tools() {
  need g++ cmake ninja-build libpugixml-dev libcli11-dev libasio-dev libedit-dev
}

need_test_tools() {
  need_build_tools && need libgtest-dev libgmock-dev libexpat1-dev valgrind iproute2 \
    python3 pkgconf libglib2.0-dev groff-base lnav tshark
}

need_fuzz_tools() {
  need_build_tools && need clang libclang-rt-dev libexpat1-dev libgtest-dev libgmock-dev
}

# The peers that this project is measured beside, and what makes a table of the figures.
need_bench_tools() {
  need_build_tools && need libstrophe-dev libspdlog-dev libboost-dev libboost-thread-dev \
    libbenchmark-dev pkgconf jq bsdextrautils
}

# What builds for Windows, and Wine, with the locales it takes code pages from.
need_windows_tools() {
  need_build_tools && need g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix mingw-w64-tools \
    wine64 wine libwine-dev xvfb googletest locales
}

# What makes the reference and the drawings; the font is the one that these are measured with.
need_docs_tools() {
  need_build_tools && need doxygen gawk graphviz fonts-dejavu-core
}

# What makes the packages, and looks at what was made.
need_package_tools() {
  need_windows_tools && need dpkg-dev fakeroot file lintian debootstrap nsis lowdown zip \
    unzip
}

# quietly LOG COMMAND [ARGUMENT...]: keeps what a command says in a file, and shows it if it fails.
quietly() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  "$@" >"$log" 2>&1 || { cat "$log" >&2 && return 1; }
}

# build PRESET [TARGET...]: configures and builds.
build() {
  local preset=$1
  shift
  echo "Building $preset"
  quietly "build/$preset.configure.log" cmake --preset "$preset" &&
    quietly "build/$preset.log" cmake --build --preset "$preset" ${1:+--target "$@"}
}
