#!/usr/bin/env bash
# Sets loadcal up on Debian 12 and runs it: installs the Debian packages it
# needs, builds, then
#   scripts/setup.sh demo   runs `build/loadcal demo` on the bundled example
#   scripts/setup.sh test   builds with AddressSanitizer + UBSan and runs every test
#   scripts/setup.sh fuzz   builds the fuzz targets with clang (build-fuzz/)
set -euo pipefail
cd "$(dirname "$0")/.."

mode=${1:-demo}
case "$mode" in
    demo|test|fuzz) ;;
    *) echo "usage: scripts/setup.sh demo|test|fuzz" >&2; exit 1 ;;
esac

packages=(
    cmake ninja-build g++ pkg-config
    qt6-base-dev libxlsxwriter-dev zlib1g-dev libdxflib-dev nlohmann-json3-dev libcli11-dev
    fonts-wqy-zenhei fonts-hanazono qt6-translations-l10n xdg-utils
)
if [ "$mode" = test ]; then
    packages+=(libgtest-dev libgmock-dev libbenchmark-dev python3 python3-openpyxl python3-ezdxf poppler-utils locales
               xvfb xdotool xclip imagemagick)
fi
if [ "$mode" = fuzz ]; then
    packages+=(clang libclang-rt-14-dev libgtest-dev libbenchmark-dev)
fi

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "Installing: ${missing[*]}"
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo=sudo
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

jobs=$(nproc)
case "$mode" in
demo)
    cmake --preset release
    cmake --build --preset release -j "$jobs" --target loadcal
    ./build/loadcal demo
    ;;
test)
    # Number formatting is checked under a comma-decimal locale.
    if ! locale -a 2>/dev/null | grep -qi '^de_DE\.utf-\?8$'; then
        localedef -i de_DE -f UTF-8 de_DE.UTF-8 2>/dev/null ||
            sudo localedef -i de_DE -f UTF-8 de_DE.UTF-8
    fi
    cmake --preset release
    cmake --build --preset release -j "$jobs" --target loadcal
    cmake --preset asan
    cmake --build --preset asan -j "$jobs"
    ctest --preset asan -j "$jobs"
    ;;
fuzz)
    cmake --preset fuzz
    cmake --build --preset fuzz -j "$jobs"
    ;;
esac
