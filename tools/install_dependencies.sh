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

# The QC page's heat map chart type for Chart.js 3 (chartjs-chart-matrix, MIT), which Debian does
# not package: fetched once from npm into the cache outside the repository, its package checked
# against the checksum pinned here; CMake copies the file beside corvid.
matrix_version=1.3.0
matrix_sha256=857d4b84a95e7b673bc1a0f22c369dedc5d72a70d9782c53fa9a02b1d7099829
matrix_folder="${CORVID_CACHE:-${HOME:-/root}/.cache/corvid}/npm/chartjs-chart-matrix-$matrix_version"
if [ ! -s "$matrix_folder/chartjs-chart-matrix.min.js" ]; then
  # Any npm does (a Node.js that brings its own counts); Debian's package otherwise.
  if ! command -v npm >/dev/null; then
    sudo_cmd=""
    [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
    $sudo_cmd apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends npm
  fi
  mkdir -p "$matrix_folder"
  (cd "$matrix_folder" && rm -f ./*.tgz && npm pack --silent "chartjs-chart-matrix@$matrix_version" >/dev/null &&
    echo "$matrix_sha256  chartjs-chart-matrix-$matrix_version.tgz" | sha256sum --check --quiet &&
    tar -xzf "chartjs-chart-matrix-$matrix_version.tgz" --strip-components=2 package/dist/chartjs-chart-matrix.min.js &&
    rm -f "chartjs-chart-matrix-$matrix_version.tgz") ||
    { echo "chartjs-chart-matrix $matrix_version could not be fetched or failed its checksum" >&2; exit 1; }
fi
