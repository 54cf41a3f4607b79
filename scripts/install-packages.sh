#!/usr/bin/env bash
# Installs those of the given Debian packages that are missing, as root or through sudo, and says
# which. Does nothing when all are there.
set -euo pipefail

missing=()
for package in "$@"; do
  state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$state" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

run=()
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null; then
    echo "These packages are missing: ${missing[*]}" >&2
    echo "Install them as root (apt-get install ${missing[*]}) and start again." >&2
    exit 1
  fi
  run=(sudo)
fi
echo "Installing missing packages: ${missing[*]}"
"${run[@]}" apt-get update -qq
"${run[@]}" env DEBIAN_FRONTEND=noninteractive \
  apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
