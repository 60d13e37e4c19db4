"""zalctl's bash completion, called the way bash calls it, against a real zal-host."""
import os
import pathlib
import socket
import subprocess
import sys
import time

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from zalhost import SOURCE_DIR, ZALCTL, ZalHost  # noqa: E402

COMPLETION = SOURCE_DIR / "tools" / "zalctl" / "zalctl.bash-completion"
BASH_COMPLETION = pathlib.Path("/usr/share/bash-completion/bash_completion")

# Sets what bash sets before it calls a completion function, calls it, prints COMPREPLY a line each.
SCRIPT = r'''
source "$BASH_COMPLETION"
source "$COMPLETION"
read -r -a COMP_WORDS <<<"$WORDS"
[[ $LINE == *" " ]] && COMP_WORDS+=("")
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
COMP_LINE=$LINE
COMP_POINT=${#COMP_LINE}
_zalctl zalctl
printf '%s\n' "${COMPREPLY[@]}"
'''


def complete(line, words=None, endpoint=None):
    """COMPREPLY for `line`; `words` is the line as bash splits it, at ':' and '=' too."""
    assert BASH_COMPLETION.exists(), "install bash-completion (scripts/install-deps.sh)"
    env = dict(os.environ, BASH_COMPLETION=str(BASH_COMPLETION), COMPLETION=str(COMPLETION),
               LINE=f"{ZALCTL} {line}", WORDS=f"{ZALCTL} {words or line}")
    env.pop("ZAL_ENDPOINT", None)
    if endpoint:
        env["ZAL_ENDPOINT"] = endpoint
    done = subprocess.run(["bash", "--norc", "--noprofile", "-c", SCRIPT], env=env, capture_output=True,
                          text=True, timeout=30)
    assert done.returncode == 0, done.stderr
    return sorted(filter(None, done.stdout.split("\n")))


def as_bash_splits(endpoint):
    return endpoint.replace(":", " : ")


@pytest.fixture(scope="module")
def host(tmp_path_factory):
    running = ZalHost(tmp_path_factory.mktemp("host"))
    for command in (["create-group", "g1"], ["create-group", "g2"],
                    ["create", "g1", "gen", "demo.Generator", "--stream", "out=tcp://127.0.0.1:*"],
                    ["create", "g1", "counter", "demo.Counter"]):
        subprocess.run([ZALCTL, "-e", running.endpoint, *command], check=True, capture_output=True,
                       timeout=60)
    yield running
    running.stop()


def test_commands_and_options_complete_without_a_host():
    assert complete("cr") == ["create", "create-group"]
    assert complete("--ti") == ["--timeout"]
    assert complete("connect g1 counter --f") == ["--filter", "--from"]
    assert complete("graph --format ") == ["dot", "svg", "text"]


def test_names_come_from_the_host_the_command_line_names(host):
    split = as_bash_splits(host.endpoint)
    assert complete(f"-e {host.endpoint} processors ", f"-e {split} processors ") == ["g1", "g2"]
    assert complete(f"--endpoint={host.endpoint} get g1 c",
                    f"--endpoint = {split} get g1 c") == ["counter"]
    assert complete("get g1 ", endpoint=host.endpoint) == ["counter", "gen"]
    assert complete("set g1 gen s", endpoint=host.endpoint) == ["sent", "size"]
    assert complete("watch g1 gen rate,s", endpoint=host.endpoint) == ["rate,sent", "rate,size"]
    assert complete("stop g1 gen ", endpoint=host.endpoint) == ["out"]
    # A name the command creates is not offered, nor a group for a processor's place.
    assert complete("create-group ", endpoint=host.endpoint) == []
    assert complete("delete g2 ", endpoint=host.endpoint) == []


def test_host_names_come_from_the_hosts_file(host, tmp_path):
    hosts = tmp_path / "hosts"
    hosts.write_text(f"host a {host.endpoint}\n# far away\nhost b tcp://192.0.2.1:5555\n")
    assert complete(f"--hosts {hosts} -e @") == ["@a", "@b"]
    assert complete(f"--hosts {hosts} connect g1 counter out --from @") == ["@a", "@b"]
    assert complete(f"--hosts {hosts} -e @a processors ") == ["g1", "g2"]


def test_a_dead_endpoint_does_not_hold_the_shell():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        dead = f"tcp://127.0.0.1:{probe.getsockname()[1]}"
    began = time.monotonic()
    assert complete(f"-e {dead} get ", f"-e {as_bash_splits(dead)} get ") == []
    # zalctl's own time-out would be 4 s a request.
    assert time.monotonic() - began < 4
