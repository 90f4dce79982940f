#!/usr/bin/env bash
# Installs the Debian packages that the build, the tests, the tool and the
# benchmarks need, and only those that are missing. Quiet when all is there.
set -euo pipefail

PACKAGES=(
    # toolchain
    g++ clang cmake ninja-build pkg-config make clang-format
    # library
    libaravis-dev libusb-1.0-0-dev libspdlog-dev zlib1g-dev
    # simulated producer
    nlohmann-json3-dev
    # tests and benchmarks
    libgtest-dev libgmock-dev libbenchmark-dev libhwy-dev
    # reference peers of the benchmarks
    libopencv-dev libyuv-dev
    # command-line tool
    libpng-dev libcli11-dev
)

missing=()
for pkg in "${PACKAGES[@]}"; do
    status=$(dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null || true)
    [[ "$status" == "install ok installed" ]] || missing+=("$pkg")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

echo "bootstrap: installing ${missing[*]}"
if [[ $(id -u) -eq 0 ]]; then
    SUDO=()
elif command -v sudo >/dev/null 2>&1; then
    SUDO=(sudo)
else
    echo "bootstrap: missing packages (${missing[*]}) and neither root nor sudo" >&2
    exit 1
fi

export DEBIAN_FRONTEND=noninteractive
"${SUDO[@]}" apt-get update -qq
"${SUDO[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
echo "bootstrap: done"
