# Shared by the scripts: where things are, how packages get installed, how Wine is started.
# Sourced, not run; the caller has "set -eu" on.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build="$root/build"
bin="$build/bin"

# Quiet, separate from the user's own prefix, and without the installers Wine offers at prefix creation.
export WINEPREFIX="$build/wine"
export WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe="

say() { printf '%s\n' "$*" >&2; }

as_root() {
  if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

# Installs the named Debian packages that are missing; asks the registry for nothing when none is.
need_packages() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f '${Status}\n' "$package" 2>/dev/null | grep -q '^install ok installed$' || missing+=("$package")
  done
  [ "${#missing[@]}" = 0 ] && return 0
  say "Installing: ${missing[*]}"
  as_root apt-get update -q >&2
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}" >&2
}

# Starts a virtual display when the caller has none, and stops it with the script.
need_display() {
  [ -z "${DISPLAY:-}" ] || return 0
  local number=90
  while [ -e "/tmp/.X$number-lock" ]; do number=$((number + 1)); done
  Xvfb ":$number" -screen 0 1600x1200x24 -nolisten tcp >/dev/null 2>&1 &
  xvfb_pid=$!
  export DISPLAY=":$number"
  trap stop_display EXIT
  local tries=0
  until [ -e "/tmp/.X11-unix/X$number" ] || [ $tries -ge 100 ]; do sleep 0.05; tries=$((tries + 1)); done
}

stop_display() {
  wineserver -k >/dev/null 2>&1 || true
  [ -z "${xvfb_pid:-}" ] || kill "$xvfb_pid" 2>/dev/null || true
}

# Makes the Wine prefix on first use and keeps one wineserver alive for the whole script.
need_wine() {
  need_display
  if [ ! -e "$WINEPREFIX/system.reg" ]; then
    mkdir -p "$build"
    say "Preparing Wine"
    wineboot --init >/dev/null 2>&1
    wineserver -w
  fi
  wineserver -p >/dev/null 2>&1 || true
}
