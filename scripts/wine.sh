# Sourced by the other scripts: a Wine of the project's own, in a prefix below build/ that nobody else
# uses, or in the one that TLK_WINE_PREFIX names. Programs are started through scripts/run-in-wine.sh.

run_in_wine=$PWD/scripts/run-in-wine.sh

wine_prefix() { echo "${TLK_WINE_PREFIX:-$PWD/build/wine/prefix}"; }

# start_wine: makes the prefix if need be and starts its services, which stay until end_wine.
# Nothing here may run in a pipe: the services would inherit it and hold it open for ever.
start_wine() {
  local prefix log
  prefix=$(wine_prefix)
  log=$prefix.log
  mkdir -p "$(dirname "$prefix")"
  if ! [ -e "$prefix/ready" ]; then
    echo "Preparing Wine"
    : >"$log"
    # Once in a while, on a busy machine, one of Wine's own programs never comes back.
    prepare_wine || prepare_wine || { echo "Wine did not start: $log tells more" >&2; return 1; }
    touch "$prefix/ready"
  fi
  env -u TMPDIR WINEPREFIX="$prefix" /usr/lib/wine/wineserver -p </dev/null >>"$log" 2>&1 || true
  set_up_wine cmd /c exit
}

# set_up_wine PROGRAM ARGUMENT...: runs one of Wine's own programs.
set_up_wine() { timeout 60 "$run_in_wine" "$@" </dev/null >>"$log" 2>&1; }

# prepare_wine: makes the prefix anew.
prepare_wine() {
  local value key
  end_wine
  rm -rf "$prefix"
  mkdir "$prefix"
  timeout 180 "$run_in_wine" wineboot -i </dev/null >>"$log" 2>&1 || return
  # Real windows, but no screen to show them on, unless there is one.
  set_up_wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d x11,null /f || return
  # A program that crashes ends at once: the debugger would wait for ever.
  set_up_wine reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' \
    /v Debugger /d none /f || return
  # Where these stand, they hide the temporary folder that a program is given.
  for value in TEMP TMP; do
    for key in 'HKCU\Environment' \
      'HKLM\System\CurrentControlSet\Control\Session Manager\Environment'; do
      set_up_wine reg delete "$key" /v $value /f || return
    done
  done
  end_wine
}

# end_wine: ends every program and service of the prefix.
end_wine() {
  env -u TMPDIR WINEPREFIX="$(wine_prefix)" timeout 20 /usr/lib/wine/wineserver -k -w \
    </dev/null >/dev/null 2>&1 || true
}
