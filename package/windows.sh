# The packages for Windows. Sourced by scripts/package.
# shellcheck shell=bash disable=SC2154

windows_name="morvex-$version-win64"

# The program folder as both packages have it.
stage_windows() {  # folder
  local name
  build_parts app Morvex morvex_batch morvex_add
  build_parts engine entry-windows
  build_worker windows "-DCMAKE_TOOLCHAIN_FILE=$root/cmake/mingw-w64.cmake"
  rm -rf "$1"
  mkdir -p "$1/Plugins" "$1/schema"
  for name in Morvex.exe morvex-batch.exe morvex-add.exe norwend_morvex.ini; do cp "$bin/$name" "$1"; done
  cp "$bin"/schema/* "$1/schema"
  cp "$build/engine/entry/windows/Polyvane_x64.dll" "$work/windows/worker/linked/morvex-engine.exe" "$1/Plugins"
  sed 's/$/\r/' "$root/package/readme_windows.txt" >"$1/README.txt"
  put_licences "$1/Licences" gcc-mingw-w64-base mingw-w64-common
  settle "$1"
}

# Lines of the installer's script for each suffix of the formats on offer: the entry in the Explorer's menu.
explorer_entries() {
  local suffix
  for suffix in $("$root/package/input_suffixes.py"); do
    printf '!insertmacro %s ".%s"\n' "$1" "$suffix"
  done
}

package_windows() {
  local stage="$work/stage-windows"
  need_packages zip nsis
  stage_windows "$stage/$windows_name"
  rm -f "$dist/$windows_name.zip"
  # Times in a zip are local ones.
  (cd "$stage" && find "$windows_name" -type f | sort | TZ=UTC zip -q -X -9 -@ "$dist/$windows_name.zip")
  explorer_entries AddToExplorer >"$work/add_to_explorer.nsh"
  explorer_entries RemoveFromExplorer >"$work/remove_from_explorer.nsh"
  makensis -V2 "-DVERSION=$version" "-DFOLDER=$stage/$windows_name" "-DENTRIES=$work" \
    "-DOUTPUT=$dist/$windows_name-setup.exe" "$root/package/installer.nsi"
}
