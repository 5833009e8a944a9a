#!/usr/bin/env bash
# Installs, from Debian's archive, what building and testing Corvid needs (only what is missing).
set -euo pipefail
packages=(g++ cmake make libgtest-dev libgmock-dev libbenchmark-dev zlib1g-dev libexpat1-dev libmsnumpress-dev
          libsvm-dev libsvm-tools comet-ms dpkg-dev snakemake)
missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  # Without recommends: snakemake would otherwise bring every cloud storage client along.
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
