#!/usr/bin/env bash
# Installs every Debian package Talvero needs to build, test and run.
# Idempotent: prints nothing and touches nothing when all packages are present.
set -euo pipefail

packages=(
  # toolchain and build
  build-essential cmake ninja-build ccache pkg-config git clang-format
  # script engine and main loop
  libjavascriptcoregtk-4.1-dev libglib2.0-dev
  # tests and benchmarks
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  # reads the PNGs of the self-tests in the end-to-end tests
  python3
  # view toolkit, text, images, fonts
  libgtk-4-dev libpango1.0-dev libcairo2-dev libgdk-pixbuf-2.0-dev libfontconfig-dev
  libfreetype-dev libpng-dev webp-pixbuf-loader
  # the SVG oracle of the tests and benchmarks (never linked into the product), and its icons
  librsvg2-dev adwaita-icon-theme
  # network: HTTP and web sockets, TLS for them; curl is the benchmark's reference client
  libsoup-3.0-dev glib-networking curl
  # headless display for GUI tests, and fonts to draw with there
  xvfb xauth fonts-dejavu-core
  # 3D: Filament with its material compiler, image decoding, and GL probing through X11
  libfilament-dev libfilament-tools libstb-dev libepoxy-dev libx11-dev
  # 3D physics: Bullet (dynamics, collision and its math library)
  libbullet-dev
  # 2D: the GL layer on epoxy, Mesa's drivers (llvmpipe under Xvfb); physics on Box2D
  libgl1-mesa-dri libbox2d-dev
  # fuzzing: clang with its libFuzzer and sanitizer runtimes
  clang libclang-rt-14-dev
)

# Tools that may come from elsewhere than Debian (a newer Node.js, say): the package is
# installed only when the command is missing.
declare -A commands=(
  [npm]=npm  # fetches Yoga's sources at configure time
)

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$package")
done
for command in "${!commands[@]}"; do
  command -v "$command" >/dev/null 2>&1 || missing+=("${commands[$command]}")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

sudo=()
[[ $(id -u) -eq 0 ]] || sudo=(sudo)
echo "[deps] installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -qq
"${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
echo "[deps] done"
