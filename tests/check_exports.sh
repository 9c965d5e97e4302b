#!/bin/sh
# Compares the dynamic symbols that gentl.cti defines with the list of implemented exports.
set -eu
actual=$(nm -D --defined-only "$1" | awk '{print $3}' | sort)
expected=$(grep -v '^#' "$2" | sort)
if [ "$actual" != "$expected" ]; then
  echo "exported symbols differ from $2:"
  diff -u /dev/fd/3 /dev/fd/4 3<<E 4<<A || true
$expected
E
$actual
A
  exit 1
fi
echo "$(echo "$actual" | wc -l) GenTL functions exported"
