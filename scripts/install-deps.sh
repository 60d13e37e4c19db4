#!/usr/bin/env bash
# Installs the Debian packages zal needs to build, test and benchmark (NNG only as the peer the
# benchmark measures beside zal), and the npm package the MCAP test reads recordings with
# (@mcap/core, into tests/mcap/node_modules); a second run only checks.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"

packages=(
  build-essential cmake ninja-build pkg-config
  libzmq3-dev cppzmq-dev
  qt6-base-dev qt6-charts-dev libqt6opengl6-dev xvfb xauth
  libboost-dev zlib1g-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libnng-dev
  python3 python3-zmq python3-pytest python3-venv python3-pip python3-setuptools python3-wheel
  clang libclang-rt-14-dev
  gcovr
  graphviz
  nodejs
  bash-completion
  iproute2 tcpdump
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

sudo_cmd=()
[ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
# Debian's nodejs comes without npm, which is a package of its own there.
command -v npm >/dev/null || missing+=(npm)

if [ ${#missing[@]} -eq 0 ]; then
  echo "install-deps: all ${#packages[@]} packages present"
else
  echo "install-deps: installing ${missing[*]}"
  "${sudo_cmd[@]}" apt-get update -qq
  "${sudo_cmd[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
fi

# Test-only, pinned by tests/mcap/package-lock.json; never part of what is built or installed.
if [ -d "$root/tests/mcap/node_modules/@mcap/core" ]; then
  echo "install-deps: @mcap/core present"
else
  npm ci --prefix "$root/tests/mcap" --no-audit --no-fund
fi
