#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, when missing;
# setup.sh PACKAGE... adds more.
set -euo pipefail

packages=(
  g++ cmake make
  nlohmann-json3-dev libspdlog-dev libfmt-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  # line editing and history in the console client
  libedit-dev
  # the WebSocket transport and orvane-simserver (Boost.Beast, OpenSSL); the
  # TLS tests make their certificates with the openssl tool
  libboost-dev libboost-system-dev libssl-dev openssl
  # the lobby window (Xlib); its tests and screenshots under Xvfb and openbox
  libx11-dev
  xvfb xauth imagemagick openbox wmctrl
  # the HTML reference of the headers, which the suite checks
  doxygen
  # and whatever the calling script needs besides
  "$@"
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
export DEBIAN_FRONTEND=noninteractive
# Try the package lists as they are first; refresh them only when that fails.
"${as_root[@]}" apt-get install -y --no-install-recommends "${missing[@]}" ||
  { "${as_root[@]}" apt-get update && "${as_root[@]}" apt-get install -y --no-install-recommends "${missing[@]}"; }
