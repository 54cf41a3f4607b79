#!/usr/bin/env bash
# clang-tidy over the sources of the library and the program, with the compile commands of the tidy
# preset.
set -euo pipefail
cd "$(dirname "$0")/.."
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! run-clang-tidy-14 -quiet -p build/tidy \
  "$PWD/(base|platform|smc|database|sensors|selftest|host)/.*" >"$log" 2>&1; then
  grep -E 'error:|warning:' "$log" | sort -u
  exit 1
fi
echo "clang-tidy: clean"
