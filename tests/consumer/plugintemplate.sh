#!/bin/bash
# Does what docs/writing-plugins.md tells a plug-in author to do: installs zal into a scratch
# prefix, builds examples/plugin-template against it, and runs data through the INSTALLED zal-host:
# demo.Generator (the installed demo.so) -> example.Case (the template, found through
# ZAL_PLUGIN_PATH) -> example.Tally. Every wait is bounded; the host is stopped on every exit.
# Usage: plugintemplate.sh CMAKE ZAL_BUILD_DIR TEMPLATE_SOURCE WORK_DIR GENERATOR
set -euo pipefail
cmake=$1 build=$2 template=$3 work=$4 generator=$5
rm -rf "$work"
mkdir -p "$work"
prefix=$work/prefix
fail() {
    echo "FAILED: $*" >&2
    exit 1
}

"$cmake" --install "$build" --prefix "$prefix" >/dev/null
# The template must build without a warning, as code meant to be copied.
"$cmake" -S "$template" -B "$work/build" -G "$generator" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_FLAGS="-Wall -Wextra -Wpedantic -Werror" >/dev/null
"$cmake" --build "$work/build"
installedPlugins=$(dirname "$(find "$prefix" -name demo.so)")

export ZAL_PLUGIN_PATH=$work/build
exec 3< <(exec "$prefix/bin/zal-host" --listen "tcp://127.0.0.1:*" 2>&1)
host=$!
trap 'kill $host 2>/dev/null || true' EXIT
endpoint=
while read -r -t 60 -u 3 line; do
    if [[ $line == "zal-host: frontend listening at "* ]]; then
        endpoint=${line##* }
        break
    fi
done
[[ -n $endpoint ]] || fail "the installed zal-host did not announce its frontend"
ctl() { "$prefix/bin/zalctl" -e "$endpoint" --timeout 10000 "$@"; }

ctl create-group g
ctl create g gen demo.Generator --stream numbers=tcp://127.0.0.1:*
ctl create g case example.Case --stream upper=tcp://127.0.0.1:*
ctl create g tally example.Tally
ctl connect g case numbers
ctl connect g tally upper
# watch asks once a second; the first round with a message ends the wait.
received=$(ctl watch g tally messages --count 30 | grep -m1 -E "messages=[1-9]" || true)
[[ -n $received ]] || fail "no message reached example.Tally in 30 seconds"
# The generator's payloads are "<number> abcdef...": upper case here proves they went through Case.
last=$(ctl get g tally last | tail -n1)
[[ $last =~ ^[0-9]+\ ABCDEFGH ]] || fail "example.Tally's last payload is '$last'"
echo "example.Tally: $received, last '$last'"

# A library that is nowhere: the reply names the folders searched, in order.
set +e
refused=$(ctl create g x nosuch.Thing)
status=$?
set -e
expected="Error: Processor of type 'nosuch.Thing' could not be created. (no plug-in library 'nosuch.so' in $prefix/bin, $installedPlugins, $work/build; set ZAL_PLUGIN_PATH)"
[[ $status == 2 && $refused == "$expected" ]] || fail "status $status, reply: $refused"
