#!/bin/sh
# Fails when a C or C++ source differs from the project's clang-format style.
set -eu
files=$(git ls-files --cached --others --exclude-standard '*.h' '*.cpp' '*.c')
[ -n "$files" ] || { echo "no sources found"; exit 1; }
"$1" --dry-run -Werror $files
echo "$(echo "$files" | wc -l) files formatted"
