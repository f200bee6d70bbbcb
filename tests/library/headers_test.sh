#!/usr/bin/env bash
# Compiles each public header alone, and all of them together in either order, as C99, C11, C++11 and C++20.
#
# Usage: headers_test.sh C_COMPILER C++_COMPILER INCLUDE_DIR [FLAGS...]
#
# Exit status: 0 when nothing has warned, 77 when a compiler is missing, 1 otherwise.

set -uo pipefail
c=$1 cpp=$2 include=$3
shift 3

for compiler in "$c" "$cpp"; do
  command -v "$compiler" >/dev/null || { echo "skipped: no $compiler here, install package ${c%%-*}"; exit 77; }
done

work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT
names=()
while read -r header; do
  names+=("${header//[\/.]/_}")
  echo "#include \"$header\"" >"$work/${names[-1]}.c"
done < <(cd "$include" && find . -name '*.h' -printf '%P\n' | sort)
((${#names[@]} > 10)) || { echo "no headers in $include"; exit 1; }
printf '#include "%s"\n' zeldc.h zelcore.h zeldc.h >"$work/together.c"
printf '#include "%s"\n' zelcore.h zeldc.h zelcore.h >"$work/together_too.c"
for name in "${names[@]}" together together_too; do cp "$work/$name.c" "$work/$name.cpp"; done

# One call compiles many files, which is most of the time saved.
failed=0
check() {
  echo "$*"
  "$@" "${flags[@]}" -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wundef -Werror -fsyntax-only -I "$include" \
    "${files[@]}" || failed=1
}
flags=("$@")
files=("$work"/*.c)
for standard in c99 c11; do check "$c" -std=$standard -Wstrict-prototypes; done
files=("$work"/*.cpp)
for standard in c++11 c++20; do check "$cpp" -std=$standard -Wold-style-cast; done
exit $failed
