#!/usr/bin/env bash
# Fetches Debian's openms-doc package once and prints the path of its BSA1.mzML (a real
# Orbitrap run: FTMS MS1, ion-trap CID MS2). The cache lives outside the repository.
set -euo pipefail
cache="${CORVID_CACHE:-${HOME:-/root}/.cache/corvid}"
target="$cache/pkg/usr/share/doc/openms/examples/BSA/BSA1.mzML"
if [ ! -s "$target" ]; then
  mkdir -p "$cache"
  (cd "$cache" && rm -f openms-doc_*.deb &&
    { apt-get download openms-doc >/dev/null 2>&1 || { apt-get update -qq && apt-get download openms-doc >/dev/null; }; } &&
    dpkg -x openms-doc_*.deb pkg && rm -f openms-doc_*.deb)
fi
[ -s "$target" ] || { echo "BSA1.mzML could not be fetched" >&2; exit 1; }
echo "$target"
