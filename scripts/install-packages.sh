#!/usr/bin/env bash
# Installs the Debian packages that building, testing and the demonstrations need, if any of them is missing; with --ci
# also those of continuous integration (clang and its tools, and what --docs gives), with --package those that make Debian
# packages, with --docs those of the documentation site.
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config binutils ccache
  libtirpc-dev                                        # the library
  libcli11-dev nlohmann-json3-dev libeigen3-dev libspectra-dev zlib1g-dev  # the program and the translators
  libzip-dev                                          # the importer of matrices, for archives of NumPy
  libsuitesparse-dev                                  # CHOLMOD, the factorization of large matrices in the translators
  libexodusii-dev libtinygltf-dev                     # Exodus II and glTF files
  python3-vtk9                                        # tests read exported pictures with VTK
  libsqlite3-dev                                      # the open store
  libgtest-dev libgmock-dev liblapacke-dev libopenblas-dev libnanoflann-dev  # tests and benchmarks
  libbenchmark-dev man-db python3 python3-numpy
  pybind11-dev python3-dev python3-pip python3-venv   # the Python package
  python3-scipy python3-pandas python3-matplotlib python3-meshio  # what it works with
  python3-pytest python3-hypothesis mypy              # its tests
  python3-distributed python3-joblib                  # studies on several processes
  python3-nbclient python3-nbformat python3-ipykernel  # its notebooks
  doxygen                                             # the reference of the public headers
  nodejs                                              # the page of sbr view, the validator of glTF files
  chromium fonts-inter                                # its tests and pictures
)
# Node.js from elsewhere brings npm along, and does not go with Debian's.
command -v npm >/dev/null || packages+=(npm)
docs=(doxygen python3-sphinx python3-myst-parser python3-breathe furo)
case ${1:-} in
  '') ;;
  --ci) packages+=(clang-14 clang-tidy-14 clang-format-14 libclang-rt-14-dev git abigail-tools reuse "${docs[@]}") ;;
  --package) packages+=(debhelper dh-python dpkg-dev fakeroot lintian git) ;;
  --docs) packages+=("${docs[@]}") ;;
  *) echo "usage: install-packages.sh [--ci|--package|--docs]" >&2; exit 2 ;;
esac

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
done
if [ ${#missing[@]} -eq 0 ]; then
  echo "All packages are there."
  exit 0
fi

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "Missing packages: ${missing[*]}. Install them as root." >&2; exit 1; }
  as_root=(sudo)
fi
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
echo "Installed."
