#!/usr/bin/env bash
# Installs, from Debian's archive, what building and testing Corvid needs (only what is missing).
set -euo pipefail
packages=(g++ cmake make libgtest-dev libgmock-dev libbenchmark-dev zlib1g-dev libexpat1-dev libmsnumpress-dev
          libsvm-dev libsvm-tools comet-ms dpkg-dev libssl-dev clang-format nlohmann-json3-dev libjs-chart.js)
# Installed without recommends: snakemake would otherwise bring every cloud storage client along
# and topp (OpenMS's FileInfo and its mzML schemas validate the corrected mzML in the tests, as does
# xmllint from libxml2-utils) a desktop viewer. Chromium opens the QC page in the browser tests and
# MultiQC gathers the workflow's QC into one batch report.
lean_packages=(snakemake topp libxml2-utils chromium multiqc)

missing_of() {
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || echo "$package"
  done
}
mapfile -t missing < <(missing_of "${packages[@]}")
mapfile -t missing_lean < <(missing_of "${lean_packages[@]}")
if ((${#missing[@]} + ${#missing_lean[@]})); then
  echo "Installing: ${missing[*]} ${missing_lean[*]}"
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  if ((${#missing[@]})); then
    DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq "${missing[@]}"
  fi
  if ((${#missing_lean[@]})); then
    DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends "${missing_lean[@]}"
  fi
fi
