# Shared by the scripts: where things are, how packages get installed, how Wine is started.
# Sourced, not run; the caller has "set -eu" on.
# shellcheck shell=bash disable=SC2034

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build="$root/build"
# A program folder that is there already may be named.
bin="${MORVEX_PROGRAM_FOLDER:-$build/bin}"

# File names of every language must reach Wine as they are.
export LC_ALL=C.UTF-8

# Quiet, in a prefix of the project's own, and without the installers that Wine offers when it makes one.
export WINEPREFIX="${MORVEX_WINEPREFIX:-$build/wine}"
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
  local number told
  told=$(mktemp -u)
  mkfifo "$told"
  # It chooses a free number itself and tells it once it is ready.
  Xvfb -displayfd 3 -screen 0 1600x1200x24 -nolisten tcp 3>"$told" >/dev/null 2>&1 &
  xvfb_pid=$!
  read -r number <"$told" || { say "No virtual display"; return 1; }
  rm "$told"
  export DISPLAY=":$number"
  # Without a window manager Wine waits two seconds for one whenever a window goes. It ends with the display.
  openbox >/dev/null 2>&1 &
}

# A display and Wine, for scripts that need no window to be seen.
need_wine() {
  need_display
  trap stop_display EXIT
  need_prefix
}

# Makes the Wine prefix on first use. The wineserver then stays two minutes longer than its last program, so that not
# every program has to start it, nor meets it while it ends.
need_prefix() {
  mkdir -p "$WINEPREFIX"
  # One after the other: the end of the making of one prefix would end what another caller has started in it.
  exec 9>"$WINEPREFIX/.making"
  flock 9
  if [ ! -e "$WINEPREFIX/system.reg" ]; then
    say "Preparing Wine"
    wineboot --init >/dev/null 2>&1 9>&-
    link_fonts >/dev/null 2>&1 9>&-
    wineserver -k 9>&- || true
  fi
  exec 9>&-
  wineserver -p120 >/dev/null 2>&1 || true
}

# Wine's interface font has no Chinese, Japanese and Korean letters; name one that has.
link_fonts() {
  local font='Noto Sans CJK JP' script
  wine reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\FontLink\SystemLink' /v 'DejaVu Sans' \
    /t REG_MULTI_SZ /d "NotoSansCJK-Regular.ttc,$font" /f
  for script in 616e616b 696e6168 676e6168; do
    wine reg add 'HKCU\Software\Wine\Uniscribe\Fallback' /v $script /d "$font" /f
  done
}

stop_display() {
  [ -z "${xvfb_pid:-}" ] || kill "$xvfb_pid" 2>/dev/null || true
}

# The Windows form of an absolute path of this system.
windows_path() {
  local path="Z:$1"
  printf '%s' "${path//\//\\}"
}
