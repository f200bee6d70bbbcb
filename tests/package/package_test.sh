#!/usr/bin/env bash
# Builds and runs a C and a C++ program against zeldc as its users get it, each way first where the tree was put, then
# after moving it.
#
# Usage: package_test.sh WAY BUILD_DIR WORK_DIR
#   find_package      an installed tree, by CMake
#   pkg_config        an installed tree, by pkg-config and the plain compilers
#   archive           the archive, by CMake
#   debian            the Debian packages, unpacked into a folder, by both
#   add_subdirectory  the sources as part of a project
#
# CC, CXX and FLAGS in the environment are the compilers and their flags, CMAKE and CPACK the programs of CMake. Exit
# status: 0 when all is well, 77 when a program is missing, 1 otherwise.

set -euo pipefail
way=$1 build=$2 work=$3
: "${CC:=cc}" "${CXX:=c++}" "${FLAGS:=}" "${CMAKE:=cmake}" "${CPACK:=cpack}"
here=$(cd "$(dirname "$0")" && pwd)
project=$(cd "$here/../.." && pwd)
unset LD_LIBRARY_PATH PKG_CONFIG_PATH CMAKE_PREFIX_PATH DESTDIR
version=$(sed -n 's/^project(zeldc VERSION \([0-9.]*\).*/\1/p' "$project/CMakeLists.txt")
[[ $FLAGS == *-m32* ]] && bits=32 || bits=64

fail() { echo "FAILED: $*" >&2; exit 1; }
need() { command -v "$1" >/dev/null || { echo "skipped: no $1 here, install package $2"; exit 77; }; }

# The folder of a tree that holds libzeldc.so, whatever it is called here.
libdir_of() { dirname "$(find "$1" -name libzeldc.so | head -n 1)"; }

run_both() {  # FOLDER: runs the two programs in it
  [[ $("$1/program_c") == "zeldc ${version%.*}, $bits bit" ]] || fail "the C program in $1"
  [[ $("$1/program_cpp") == "zeldc ${version%.*}, $bits bit, from C++" ]] || fail "the C++ program in $1"
}

configure() {  # FOLDER ARGUMENTS...: configures the consumer there
  local folder=$1
  shift
  rm -rf "$folder"
  "$CMAKE" -S "$here/consumer" -B "$folder" -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" \
    -DCMAKE_C_FLAGS="$FLAGS" -DCMAKE_CXX_FLAGS="$FLAGS" "$@"
}

by_cmake() {  # TREE: the consumer finds the package below it
  echo "-- by CMake in $1"
  configure "$work/consumer" -DCMAKE_PREFIX_PATH="$1"
  "$CMAKE" --build "$work/consumer"
  run_both "$work/consumer"
}

by_pkg_config() {  # TREE
  local libdir flags
  echo "-- by pkg-config in $1"
  libdir=$(libdir_of "$1")
  export PKG_CONFIG_LIBDIR=$libdir/pkgconfig
  # No path of the tree may stand in a file: it is asked where it is now.
  [[ $(realpath "$(pkg-config --variable=libdir zeldc)") == "$(realpath "$libdir")" ]] || fail "libdir in zeldc.pc"
  [[ $(pkg-config --modversion zeldc) == "$version" ]] || fail "version in zeldc.pc"
  pkg-config --exists --print-errors 'zelcore >= 6.1'
  flags="$FLAGS $(pkg-config --cflags --libs zeldc) -Wl,-rpath,$(pkg-config --variable=libdir zeldc)"
  mkdir -p "$work/plain"
  # Flags are words.
  # shellcheck disable=SC2086
  "$CC" -std=c99 -Wall -Werror "$here/consumer/program.c" $flags -o "$work/plain/program_c"
  # shellcheck disable=SC2086
  "$CXX" -std=c++11 -Wall -Werror "$here/consumer/program.cpp" $flags -o "$work/plain/program_cpp"
  run_both "$work/plain"
}

move() { mkdir -p "$(dirname "$2")" && mv "$1" "$2"; }  # FROM TO: nothing is left behind

install_tree() {  # TREE
  "$CMAKE" --install "$build" --prefix "$1" >"$work/install.log"
  [[ -f $1/include/zeldc.h && -f $1/include/zeldc/types.h && -f $1/include/zelcore.h ]] || fail "headers in $1"
  [[ -f $1/share/doc/zeldc/LICENSE && -f $1/share/doc/zeldc/docs/install.md ]] || fail "documents in $1"
  local libdir
  libdir=$(libdir_of "$1")
  [[ $(readlink "$libdir/libzeldc.so") == libzeldc.so.6 ]] || fail "the link for the linker"
  [[ $(readlink "$libdir/libzeldc.so.6") == "libzeldc.so.$version" ]] || fail "the link for the loader"
  [[ -f $libdir/libzeldc.so.$version && -f $libdir/libzelcore.so ]] || fail "libraries in $1"
  if grep -rIlF -e "$1" -e "$build" "$1"; then fail "paths in installed files"; fi
}

make_package() {  # GENERATOR: by cpack, into $work/packages
  rm -rf "$work/packages"
  # Ninja is not run. With Make, cpack would first build whatever is not up to date.
  "$CPACK" --config "$build/CPackConfig.cmake" -G "$1" -B "$work/packages" -D CPACK_CMAKE_GENERATOR=Ninja
  rm -rf "$work/packages/_CPack_Packages"
}

run_programs() {  # TREE: the example programs find their libraries
  local text="tick, tock, tick, tock"
  [[ $(echo "$text" | "$1/bin/zelgzip" -c | gzip -dc) == "$text" ]] || fail "zelgzip in $1"
}

test_find_package() {
  install_tree "$work/tree"
  by_cmake "$work/tree"
  run_programs "$work/tree"
  move "$work/tree" "$work/some where else/moved"
  by_cmake "$work/some where else/moved"
  run_programs "$work/some where else/moved"

  local package
  package=$(libdir_of "$work/some where else/moved")/cmake/zeldc
  echo "-- another major version and the other width are refused"
  sed 's/find_package(zeldc 6.1 /find_package(zeldc 5 /' "$here/consumer/CMakeLists.txt" >"$work/CMakeLists.txt"
  cp "$here"/consumer/program.* "$work"
  if "$CMAKE" -S "$work" -B "$work/other" -Dzeldc_DIR="$package" -DCMAKE_CXX_FLAGS="$FLAGS" -DCMAKE_C_FLAGS="$FLAGS" \
    >"$work/other.log" 2>&1; then fail "version 6 was taken for 5"; fi
  grep -q "version: $version" "$work/other.log" || fail "the refusal of version 5: see $work/other.log"
  local other=-m$((96 - bits))
  if ! "$CC" $other -x c -o "$work/width" - <<<'int main(void) { return 0; }' >"$work/other.log" 2>&1; then
    echo "not tried: the other width, for which $CC $other makes no programs here"
    return
  fi
  if FLAGS=$other configure "$work/other" -Dzeldc_DIR="$package" >"$work/other.log" 2>&1; then
    fail "the other width was taken"
  fi
  grep -q "version: $version (${bits}bit)" "$work/other.log" || fail "the refusal of the width: see $work/other.log"
}

test_pkg_config() {
  need pkg-config pkg-config
  install_tree "$work/tree"
  by_pkg_config "$work/tree"
  move "$work/tree" "$work/elsewhere/moved"
  by_pkg_config "$work/elsewhere/moved"
}

test_archive() {
  make_package TGZ
  local archive
  archive=$(echo "$work"/packages/zeldc-"$version"-linux-*.tar.gz)
  tar -xzf "$archive" -C "$work"
  by_cmake "$work/$(basename "$archive" .tar.gz)"
  run_programs "$work/$(basename "$archive" .tar.gz)"
}

test_debian() {
  need dpkg-shlibdeps dpkg-dev
  need file file
  need pkg-config pkg-config
  make_package DEB
  local arch=amd64 triplet=x86_64-linux-gnu run_time development
  ((bits == 64)) || arch=i386 triplet=i386-linux-gnu
  run_time=$work/packages/libzeldc6_${version}_$arch.deb
  development=$work/packages/libzeldc-dev_${version}_$arch.deb

  expect() {  # PACKAGE FIELD PATTERN
    [[ $(dpkg-deb -f "$1" "$2") =~ ^($3)$ ]] || fail "$2 of $1 is $(dpkg-deb -f "$1" "$2")"
  }
  for package in "$run_time" "$development"; do
    expect "$package" Version "$version"
    expect "$package" Architecture "$arch"
    expect "$package" Multi-Arch same
    dpkg-deb -c "$package" >"$work/list"
    grep -q "/usr/lib/$triplet/" "$work/list" || fail "no folder of $triplet in $package"
    grep -q '/usr/share/doc/lib[^/]*/copyright$' "$work/list" || fail "no copyright in $package"
  done
  expect "$run_time" Depends 'libc6 \([^,]*, libgomp1( \([^,]*)?'
  expect "$development" Depends "libzeldc6 \(= $version\), libc6-dev"

  mkdir -p "$work/root"
  dpkg-deb -x "$run_time" "$work/root"
  [[ ! -e $work/root/usr/include && ! -e $work/root/usr/lib/$triplet/libzeldc.so ]] || fail "run time holds too much"
  dpkg-deb -x "$development" "$work/root"
  by_cmake "$work/root/usr"
  by_pkg_config "$work/root/usr"
  move "$work/root" "$work/elsewhere/root"
  by_cmake "$work/elsewhere/root/usr"
  by_pkg_config "$work/elsewhere/root/usr"
}

test_add_subdirectory() {
  configure "$work/consumer" -DZELDC_SOURCES="$project"
  "$CMAKE" --build "$work/consumer" -j2
  run_both "$work/consumer"
  local built
  built=$(cd "$work/consumer" && find . -type f \( -name '*.so*' -o -name '*.a' -o -perm -u+x \) \
    -not -path '*/CMakeFiles/*' -printf '%f\n' | sort | paste -sd' ')
  [[ $built == "libzelcore.so libzeldc.so.$version program_c program_cpp" ]] || fail "built besides: $built"
  "$CMAKE" --install "$work/consumer" --prefix "$work/tree" >"$work/install.log"
  [[ ! -e $work/tree ]] || fail "a project that uses zeldc installs it"
}

rm -rf "$work"
mkdir -p "$work"
"test_$way"
echo "all is well"
