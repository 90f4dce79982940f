#!/usr/bin/env bash
# Installs the Debian packages a job needs, and only those that are missing.
# Quiet when all is there.
#   scripts/bootstrap.sh build   the library, the simulated producer, lumocam, the demo
#   scripts/bootstrap.sh test    build + what the test suites need
#   scripts/bootstrap.sh bench   build + the benchmarks and their reference peers
#   scripts/bootstrap.sh docs    Doxygen for the API reference
#   scripts/bootstrap.sh fuzz    build + clang with libFuzzer
set -euo pipefail

profile=${1:-test}

BUILD_PACKAGES=(
    # toolchain
    g++ cmake ninja-build pkg-config make
    # library
    libaravis-dev libusb-1.0-0-dev libspdlog-dev zlib1g-dev libhwy-dev
    # simulated producer
    nlohmann-json3-dev
    # command-line tool (lumocam view: HTTP server, JPEG)
    libpng-dev libcli11-dev libcpp-httplib-dev libturbojpeg0-dev
    # Python module (built for Debian's own python3)
    pybind11-dev python3-dev python3-numpy
)
TEST_PACKAGES=(
    libgtest-dev libgmock-dev clang-format
    # Python module tests
    python3-pytest
    # fake GigE Vision camera for the LumoGev.cti tests (run in a private network namespace)
    aravis-tools
    # lumocam view's page in a real browser (puppeteer-core comes from npm, see below)
    chromium nodejs
)
BENCH_PACKAGES=(
    libbenchmark-dev
    # reference peers of the benchmarks
    libopencv-dev libyuv-dev
)

FUZZ_PACKAGES=(
    clang libclang-rt-14-dev
)
DOCS_PACKAGES=(
    doxygen
)

case "$profile" in
    build) PACKAGES=("${BUILD_PACKAGES[@]}") ;;
    test) PACKAGES=("${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}") ;;
    bench) PACKAGES=("${BUILD_PACKAGES[@]}" "${BENCH_PACKAGES[@]}") ;;
    docs) PACKAGES=("${DOCS_PACKAGES[@]}") ;;
    fuzz) PACKAGES=("${BUILD_PACKAGES[@]}" "${FUZZ_PACKAGES[@]}") ;;
    *) echo "bootstrap: unknown profile '$profile' (build, test, bench, docs or fuzz)" >&2; exit 2 ;;
esac

# The browser test's Node packages, pinned by package-lock.json; puppeteer-core
# drives Debian's Chromium and downloads no browser.
install_browser_test_modules() {
    local dir
    dir="$(cd "$(dirname "$0")/.." && pwd)/tests/view/browser"
    [[ "$profile" == test && -f "$dir/package-lock.json" ]] || return 0
    [[ "$dir/node_modules/.package-lock.json" -nt "$dir/package-lock.json" ]] && return 0
    if ! command -v npm >/dev/null 2>&1; then
        echo "bootstrap: npm is missing; the browser test will fail until it is installed" >&2
        return 0
    fi
    echo "bootstrap: npm ci in tests/view/browser"
    (cd "$dir" && npm ci --no-audit --no-fund --loglevel=error >/dev/null)
}

missing=()
for pkg in "${PACKAGES[@]}"; do
    status=$(dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null || true)
    [[ "$status" == "install ok installed" ]] || missing+=("$pkg")
done
# Debian's nodejs comes without npm; a Node.js from elsewhere brings its own.
if [[ "$profile" == test ]] && ! command -v npm >/dev/null 2>&1; then
    missing+=(npm)
fi
if [[ ${#missing[@]} -eq 0 ]]; then
    install_browser_test_modules
    exit 0
fi

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
install_browser_test_modules
echo "bootstrap: done"
