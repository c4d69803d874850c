# Morvex for Debian, under Wine, with the engine on the libraries of this system. Sourced by scripts/package.
# shellcheck shell=bash disable=SC2154

debian_name="morvex_${version}_amd64"

# The programs' folder as scripts/build makes it, and the scripts that start it. Wine's side of the entry library is not
# for debuggers.
stage_debian_programs() {  # folder
  local name
  mkdir -p "$1/Plugins/engine" "$1/schema" "$1/scripts"
  for name in Morvex.exe morvex-batch.exe morvex-add.exe norwend_morvex.ini; do cp "$bin/$name" "$1"; done
  cp "$bin"/schema/* "$1/schema"
  cp "$bin/Plugins/morvex-engine" "$bin/Plugins/Polyvane_x64.dll" "$1/Plugins"
  cp "$bin"/Plugins/engine/*.so "$1/Plugins/engine"
  strip --strip-unneeded "$1/Plugins/Polyvane_x64.dll"
  cp "$root/scripts/lib.sh" "$root/scripts/batch" "$1/scripts"
  cp "$root/package/debian/start.sh" "$1"
}

# The packages of the libraries that the engine is linked to.
library_packages() {  # programs' folder
  mkdir -p "$work/shlibdeps/debian"
  printf 'Source: morvex\n\nPackage: morvex\nArchitecture: amd64\n' >"$work/shlibdeps/debian/control"
  (cd "$work/shlibdeps" && dpkg-shlibdeps -O -l"$1/Plugins/engine" "$1/Plugins/morvex-engine" "$1"/Plugins/engine/*.so) |
    sed 's/^shlibs:Depends=//'
}

# The manual page with the program's own help in it.
put_manual() {  # file
  {
    cat "$root/docs/morvex-batch.1"
    printf '.SH OPTIONS\n.nf\n'
    "$root/scripts/batch" --help all | tr -d '\r' | sed -e 's/\\/\\e/g' -e "s/^[.']/\\\\\&&/" -e 's/-/\\-/g'
    printf '.fi\n'
  } | gzip -9n >"$1"
}

# Menu entry, icons, kinds of files, manual, copyright: what the system has places for.
stage_debian_places() {  # share folder
  local types
  mkdir -p "$1"/applications "$1"/mime/packages "$1"/man/man1 "$1"/doc/morvex
  cp "$root/package/debian/mime_types.xml" "$1/mime/packages/morvex.xml"
  types=$(sed -n 's/.*mime-type type="\([^"]*\)".*/\1;/p' "$root/package/debian/mime_types.xml" | tr -d '\n')
  { cat "$root/package/debian/morvex.desktop"; printf 'MimeType=%s\n' "$types"; } >"$1/applications/morvex.desktop"
  "$root/package/debian/icons.py" "$root/res/morvex.ico" "$1/icons/hicolor"
  put_manual "$1/man/man1/morvex-batch.1.gz"
  cp "$root/LICENSE" "$1/doc/morvex/copyright"
}

put_control() {  # folder of the package
  mkdir -p "$1/DEBIAN"
  sed -e "s/@VERSION@/$version/" -e "s/@SIZE@/$(du -sk --apparent-size "$1/usr" | cut -f1)/" \
    -e "s/@LIBRARIES@/$(library_packages "$1/usr/lib/morvex")/" "$root/package/debian/control" >"$1/DEBIAN/control"
  (cd "$1" && find usr -type f | sort | xargs -d '\n' md5sum >DEBIAN/md5sums)
}

package_debian() {
  local stage="$work/stage-debian" name
  need_packages dpkg-dev
  build_parts app Morvex morvex_batch morvex_add
  build_parts engine all
  rm -rf "$stage"
  stage_debian_programs "$stage/usr/lib/morvex"
  stage_debian_places "$stage/usr/share"
  mkdir -p "$stage/usr/bin"
  for name in morvex morvex-batch; do ln -s ../lib/morvex/start.sh "$stage/usr/bin/$name"; done
  ln -s ../lib/morvex/Plugins/morvex-engine "$stage/usr/bin/morvex-engine"
  put_control "$stage"
  settle "$stage"
  dpkg-deb --root-owner-group -Zxz --build "$stage" "$dist/$debian_name.deb" >/dev/null
}
