#!/bin/sh
# Checks that the shared core library exports the version symbols as undecorated C data
# and carries the identification string. Skips (exit 77) for a static build.
#   check_version_symbols.sh LIBRARY_FILE LIBRARY_TYPE NM
set -eu
lib=$1 type=$2 nm=$3

if [ "$type" != SHARED_LIBRARY ]; then
  echo "skipped: $lib is a $type, which has no dynamic symbol table"
  exit 77
fi

symbols=$("$nm" -D --defined-only "$lib")
status=0
for name in TelvorVersionNumber TelvorVersionString; do
  # "ADDRESS TYPE NAME": exactly this name, as read-only or initialised data.
  if ! printf '%s\n' "$symbols" | grep -Eq "^[0-9a-fA-F]+ [RD] $name\$"; then
    echo "missing from the dynamic symbol table as undecorated data: $name" >&2
    printf '%s\n' "$symbols" | grep -F Telvor >&2 || true
    status=1
  fi
done

if ! grep -aqF '@(#)PROGRAM:Telvor  PROJECT:Quenmark-1' "$lib"; then
  echo "the identification string is not in $lib" >&2
  status=1
fi
[ $status -eq 0 ] && echo "ok: version symbols exported by $lib"
exit $status
