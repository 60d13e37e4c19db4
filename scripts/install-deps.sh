#!/usr/bin/env bash
# Installs the Debian packages zal needs to build, test and benchmark; a second run only checks.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  libzmq3-dev cppzmq-dev
  qt6-base-dev
  libboost-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  python3 python3-zmq python3-pytest
  clang libclang-rt-14-dev
  gcovr
  graphviz
  bash-completion
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "install-deps: all ${#packages[@]} packages present"
  exit 0
fi

echo "install-deps: installing ${missing[*]}"
sudo_cmd=()
[ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
