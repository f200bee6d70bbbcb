#!/usr/bin/env bash
# An application's own core is the one that libzeldc uses: every InitAlloc takes its memory, its refusals are answered,
# and the parallel coders take its number of threads.
#
# Usage: own_core_test.sh ZELARENA

set -uo pipefail
zelarena=$1
families=(deflate inflate lzss move-to-front run-length byte-huffman bzip2-huffman intervals variable-length)
export OMP_NUM_THREADS=7
failed=0

# row NAME OUTPUT: status, records, bytes and thread counts of a family.
row() { awk -v name="$1" '$1 == name && NF == 5 { print $2, $3, $4, $5 }' <<<"$2"; }
expect() { [[ $2 =~ ^$3$ ]] || { echo "FAILED: $1: '$2' is not '$3'"; failed=1; }; }
matches() { grep -qE "$2" <<<"$1" || { echo "FAILED: no '$2' in: $1"; failed=1; }; }

plenty=$("$zelarena" 4000000 3) || { echo "FAILED: status $?"; failed=1; }
for family in "${families[@]}"; do expect "$family" "$(row "$family" "$plenty")" '0 1 [1-9][0-9]* 0'; done
# The parallel coders ask, and do as they are told rather than as the environment says.
for coder in lzo reduction; do expect "$coder" "$(row "$coder" "$plenty")" '0 0 0 [1-9][0-9]*'; done
matches "$plenty" ' in 3 pieces$'
matches "$plenty" '^0 records live, 0 refused$'
matches "$("$zelarena" 4000000 1)" ' in 1 pieces$'

# With an arena for small records the large ones are refused, and nothing else suffers.
little=$("$zelarena" 50000 2) && { echo "FAILED: no complaint about little memory"; failed=1; }
for family in deflate inflate lzss intervals; do expect "$family" "$(row "$family" "$little")" '-9 0 0 0'; done
for family in move-to-front run-length byte-huffman; do expect "$family" "$(row "$family" "$little")" '0 1 .*'; done
matches "$little" ' in 2 pieces$'
matches "$little" '^0 records live, 4 refused$'

none=$("$zelarena" 0 2) && { echo "FAILED: no complaint about no memory"; failed=1; }
for family in "${families[@]}"; do expect "$family" "$(row "$family" "$none")" '-[89] 0 0 0'; done
matches "$none" '^0 records live, 9 refused$'
exit $failed
