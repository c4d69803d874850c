#!/usr/bin/env bash
# Starts Morvex: by the name "morvex" its window, with the named files added to it, by "morvex-batch" the batch command.
# Each user has a Wine prefix for it, beside the own data.
set -eu
folder=$(dirname "$(realpath "$0")")
export MORVEX_PROGRAM_FOLDER="$folder"
export MORVEX_WINEPREFIX="${MORVEX_WINEPREFIX:-${XDG_DATA_HOME:-$HOME/.local/share}/morvex/wine}"
case "${0##*/}" in
  morvex-batch) exec "$folder/scripts/batch" "$@" ;;
  morvex) ;;
  *) echo "start this as morvex or morvex-batch" >&2; exit 2 ;;
esac
. "$folder/scripts/lib.sh"
[ -n "${DISPLAY:-}" ] || { say "No display: morvex-batch and morvex-engine do without one"; exit 1; }
need_prefix
files=()
for file in "$@"; do files+=("$(windows_path "$(realpath -ms -- "$file")")"); done
if [ "${#files[@]}" = 0 ]; then exec wine "$bin/Morvex.exe"; fi
exec wine "$bin/morvex-add.exe" "${files[@]}"
