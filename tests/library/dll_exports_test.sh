#!/usr/bin/env bash
# Checks a DLL's names, which are those of the export map, undecorated.
#
# Usage: dll_exports_test.sh OBJDUMP DLL EXPORT_MAP
set -euo pipefail

exported=$("$1" -p "$2" | awk '/^\[Ordinal\/Name Pointer\] Table/ { names = 1; next } NF == 0 { names = 0 }
                               names { print $NF }' | sort)
mapped=$(sed -n 's/^ *\([a-z][A-Za-z0-9_]*\);$/\1/p' "$3" | sort)
diff <(echo "$mapped") <(echo "$exported")
echo "$(wc -l <<<"$exported") names"
