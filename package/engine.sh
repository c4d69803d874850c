# The engine's worker as one program for a system, and the sources of the libraries in it. Sourced by scripts/package.
# shellcheck shell=bash disable=SC2154

apt_with_sources() {
  apt-get -q -o Dir::Etc::SourceList=/dev/null -o Dir::Etc::SourceParts="$work/apt/sources" \
    -o Dir::State::Lists="$work/apt/lists" "$@"
}

# The system's own sources of packages, as sources of source packages, in lists of our own.
list_sources() {
  local list
  [ ! -e "$work/apt/ready" ] || return 0
  mkdir -p "$work/apt/sources" "$work/apt/lists/partial"
  for list in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [ ! -s "$list" ] || sed -n 's/^deb /deb-src /p' "$list" >>"$work/apt/sources/host.list"
  done
  for list in /etc/apt/sources.list.d/*.sources; do
    [ ! -s "$list" ] || sed 's/^Types:.*/Types: deb-src/' "$list" >"$work/apt/sources/${list##*/}"
  done
  apt_with_sources update
  touch "$work/apt/ready"
}

# A source package, unpacked and patched, as build/package/source/<folder>.
need_source() {  # package, folder
  local patch
  [ ! -e "$work/source/$2.ready" ] || return 0
  list_sources
  mkdir -p "$work/source"
  # An update of the distribution's that is announced may not be there yet.
  (cd "$work/source" && rm -rf "$2" "$1"-*/ &&
    { apt_with_sources source "$1" || apt_with_sources source "$1/$(. /etc/os-release && echo "$VERSION_CODENAME")"; } &&
    ln -sfn "$1"-*/ "$2")
  for patch in "$root/package/patches/$2"-*.patch; do
    [ ! -e "$patch" ] || patch -d "$work/source/$2" -p1 <"$patch"
  done
  # What is fetched again must not look changed.
  find "$work/source/$2/" -type f -exec touch -d 2020-01-01 {} +
  touch "$work/source/$2.ready"
}

# The worker for a system, as build/package/<system>/worker/linked/morvex-engine.
build_worker() {  # system, options of CMake
  local made="$work/$1"
  shift
  need_packages cmake ninja-build g++ g++-mingw-w64-x86-64-posix dpkg-dev patch python3 \
    zlib1g-dev libz-mingw-w64-dev libutfcpp-dev libstb-dev rapidjson-dev
  need_source opencascade opencascade
  need_source assimp assimp
  need_source draco draco
  need_source libpng1.6 png
  need_source minizip minizip
  mkdir -p "$made"
  if [ ! -e "$made/build.ninja" ]; then
    cmake -S "$root/package" -B "$made" -G Ninja -DCMAKE_BUILD_TYPE=Release "-DMORVEX_SOURCES=$work/source" "$@" >"$made.log" ||
      { cat "$made.log" >&2; return 1; }
  fi
  nice ninja -C "$made" --quiet linked_engine
}

# Programs and parts of Morvex that scripts/build makes, brought up to date.
build_parts() {  # "app" or "engine", targets
  local part=$1
  shift
  if [ ! -e "$build/app/build.ninja" ] || [ ! -e "$build/engine/build.ninja" ]; then "$root/scripts/build"; fi
  nice ninja -C "$build/$part" --quiet "$@"
}

# The licences of all that is in a package, with what the runtime libraries of its system ask for.
put_licences() {  # folder, packages of the runtime libraries
  local folder=$1 library
  shift
  mkdir -p "$folder"
  cp "$root/LICENSE" "$folder/Morvex.txt"
  cp "$root/package/licences.txt" "$folder/READ ME.txt"
  for library in opencascade assimp draco png minizip; do
    cp "$work/source/$library/debian/copyright" "$folder/$library.txt"
  done
  cp "$work/source/opencascade/LICENSE_LGPL_21.txt" "$work/source/opencascade/OCCT_LGPL_EXCEPTION.txt" "$folder"
  for library in zlib1g-dev libutfcpp-dev libstb-dev rapidjson-dev "$@"; do
    cp "/usr/share/doc/$library/copyright" "$folder/$library.txt"
  done
}

# Times and permissions as every build has them.
settle() {  # folder
  chmod -R u=rwX,go=rX "$1"
  find "$1" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
}
