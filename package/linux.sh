# The engine's worker alone, for any Linux of x86-64. Sourced by scripts/package.
# shellcheck shell=bash disable=SC2154

linux_name="morvex-engine-$version-linux-x64"
linux_glibc=2.36

# Fails when the program needs more of the system than its C library of that version.
need_only_glibc() {  # program
  local needed newest
  needed=$(objdump -p "$1" | awk '$1 == "NEEDED" { print $2 }' | grep -Ev '^(libc|libm|ld-linux-x86-64)\.so\.[0-9]$' || true)
  newest=$(objdump -p "$1" | grep -o 'GLIBC_[0-9.]*' | sed 's/GLIBC_//' | sort -V | tail -n 1)
  if [ -n "$needed" ]; then say "$1 needs $needed"; return 1; fi
  if [ "$(printf '%s\n' "$newest" "$linux_glibc" | sort -V | tail -n 1)" != "$linux_glibc" ]; then
    say "$1 needs glibc $newest"
    return 1
  fi
}

package_linux() {
  local stage="$work/stage-linux"
  build_worker linux
  need_only_glibc "$work/linux/worker/linked/morvex-engine"
  rm -rf "$stage"
  mkdir -p "$stage/$linux_name"
  cp "$work/linux/worker/linked/morvex-engine" "$root/package/readme_linux.txt" "$stage/$linux_name"
  mv "$stage/$linux_name/readme_linux.txt" "$stage/$linux_name/README.txt"
  put_licences "$stage/$linux_name/licences" gcc-12-base
  settle "$stage"
  tar -C "$stage" --sort=name --owner=0 --group=0 --numeric-owner --format=ustar -cf - "$linux_name" |
    gzip -9n >"$dist/$linux_name.tar.gz"
}
