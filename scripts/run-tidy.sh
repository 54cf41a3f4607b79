#!/usr/bin/env bash
# clang-tidy over the sources of the library and the program, with the compile commands of the tidy
# preset. A file whose text, headers and checks have not changed since it was last found clean is
# skipped: its mark in build/tidy/clean is named after the preprocessed text.
set -euo pipefail
cd "$(dirname "$0")/.."
mkdir -p build/tidy/clean

check() {
  source=$1
  mark=build/tidy/clean/$( { cat .clang-tidy; python3 - "$source" <<'PY'
import json, shlex, subprocess, sys
for entry in json.load(open("build/tidy/compile_commands.json")):
    if entry["file"].endswith("/" + sys.argv[1]):
        words = [w for w in shlex.split(entry["command"]) if "ccache" not in w]
        words[words.index("-o"):words.index("-o") + 2] = []
        words[words.index("-c")] = "-E"
        sys.stdout.buffer.write(subprocess.run(words, cwd=entry["directory"], check=True,
                                               capture_output=True).stdout)
        break
else:
    sys.exit("no compile command for " + sys.argv[1])
PY
  } | sha256sum | cut -c1-40)
  [ -e "$mark" ] && return 0
  clang-tidy-14 --quiet -p build/tidy "$source" 2>/dev/null && touch "$mark"
}
export -f check

git ls-files '*.cpp' | grep -vE '^(tests|bench|examples)/' |
  xargs -P "$(nproc)" -I{} bash -c 'check {} || { echo "clang-tidy: {}"; exit 255; }'
echo "clang-tidy: clean"
