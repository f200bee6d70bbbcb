#!/usr/bin/env bash
# Compares the binary interface of a built library with the one on record, or puts it on record.
#
# Usage: abi_test.sh LIBRARY            compares; prints the differences
#        abi_test.sh --renew LIBRARY    writes the record
#
# The library must be compiled with debug information (ZELDC_DEBUG_INFO). Its width chooses the record: abi/64.abi or
# abi/32.abi beside this script. Exit status: 0 when both agree, 77 when libabigail is missing, 1 otherwise.

set -euo pipefail
renew=
[[ $1 == --renew ]] && { renew=1; shift; }
library=$1
here=$(cd "$(dirname "$0")" && pwd)
project=$(cd "$here/../.." && pwd)

command -v abidw >/dev/null || { echo "skipped: no abidw here, install package abigail-tools"; exit 77; }
# The fifth byte of an ELF file tells its width.
width=$(($(od -An -t u1 -j 4 -N 1 "$library") * 32))
record=$here/abi/$width.abi
options=(--headers-dir "$project/include" --drop-private-types --exported-interfaces-only)
new=$(mktemp)
trap 'rm -f "$new"' EXIT
abidw "${options[@]}" --no-corpus-path --no-comp-dir-path --no-show-locs --no-elf-needed --type-id-style hash \
  --out-file "$new" "$library"
# Where the sources were is of no interest.
sed -i "s|path='$project/|path='|" "$new"

if [[ $renew ]]; then
  cp "$new" "$record"
elif ! abidiff --no-unreferenced-symbols "$record" "$new"; then
  echo "The binary interface is not that of $record."
  echo "If this is meant, put the new one on record: tests/library/abi_test.sh --renew $library"
  exit 1
fi
