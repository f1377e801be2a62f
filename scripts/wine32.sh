# Sourced by the other scripts, after wine.sh: a Wine that runs 32-bit programs as well, with a prefix of
# its own. The Wine installed has the 64-bit half only; the other half comes from the package of the i386
# architecture, which is unpacked below build/ and not installed.

wine32=$PWD/build/wine32

# in_wine32 COMMAND...: runs a command for which the 32-bit Wine is the project's Wine.
in_wine32() { TLK_WINE_PREFIX=$wine32/prefix WINEDLLPATH=$wine32/dlls "$@"; }

# start_wine32: start_wine for 32-bit programs. Says in a line why, and fails, where they cannot run here.
start_wine32() {
  local version
  version=$(dpkg-query -W -f '${Version}' libwine:amd64 2>/dev/null) ||
    { no_wine32 "there is no Wine of the amd64 architecture"; return 1; }
  # What was made for another version of Wine is of no use.
  if [ "$(cat "$wine32/version" 2>/dev/null)" != "$version" ]; then
    echo "Fetching what runs 32-bit programs under Wine (105 MB)"
    rm -rf "$wine32"
    mkdir -p "$wine32"
    (cd "$wine32" && fetch_wine32 "$version") ||
      { no_wine32 "libwine:i386 $version cannot be had (build/wine32/fetch.log)"; return 1; }
    echo "$version" >"$wine32/version"
  fi
  if ! in_wine32 start_wine || ! runs_32_bit_programs; then
    in_wine32 end_wine
    no_wine32 "one of Wine's own did not (build/wine32/prefix.log)"
    return 1
  fi
}

end_wine32() { [ ! -e "$wine32/prefix" ] || in_wine32 end_wine; }

no_wine32() { echo "32-bit programs do not run here: $1. Their tests are left out."; }

# fetch_wine32 VERSION: unpacks the 32-bit DLLs here and lays those of the installed Wine beside them.
# Apt is told that this is an i386 machine with nothing installed, and keeps its lists here: the machine's
# own state is neither read nor changed.
fetch_wine32() {
  local apt=(timeout 300 apt-get -q -o APT::Architecture=i386 -o APT::Architectures=i386
    -o APT::Sandbox::User= -o Acquire::Retries=1 -o Acquire::http::Timeout=30 -o Acquire::Languages=none
    -o Acquire::IndexTargets::deb::DEP-11::DefaultEnabled=false
    -o Dir::State::Lists="$PWD/lists" -o Dir::State::status=/dev/null -o Dir::Cache="$PWD/cache")
  mkdir -p lists/partial cache/archives/partial i386 dlls
  {
    # A list that could not be had may be one that is not needed.
    "${apt[@]}" update || true
    "${apt[@]}" download "libwine=$1" &&
      dpkg-deb --fsys-tarfile libwine_*_i386.deb |
      tar -x -C i386 --wildcards --strip-components 5 './usr/lib/*/wine/i386-windows' &&
      ln -s ../i386/i386-windows /usr/lib/x86_64-linux-gnu/wine/x86_64-{unix,windows} dlls &&
      rm -rf lists cache libwine_*_i386.deb
  } >fetch.log 2>&1
}

# A program of the 32-bit system folder comes back with what it was told.
runs_32_bit_programs() {
  local status=0
  in_wine32 timeout 60 "$run_in_wine" 'C:\windows\syswow64\cmd.exe' /c exit 42 \
    </dev/null >>"$wine32/prefix.log" 2>&1 || status=$?
  [ "$status" -eq 42 ]
}
