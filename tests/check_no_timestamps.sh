#!/bin/sh
# Fails when a source outside the build folders uses the compiler's build date or time.
set -eu
cd "$1"
pattern='__DATE__|__TIME__|__TIMESTAMP__'
if grep -rnE --exclude-dir=build --exclude-dir=.git "$pattern" \
  --include='*.h' --include='*.hpp' --include='*.c' --include='*.cc' --include='*.cpp' .; then
  echo "the lines above make the build depend on when it runs"
  exit 1
fi
echo "no source uses $pattern"
