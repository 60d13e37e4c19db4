"""docs/deployment.md shows the commands the multi-host test runs, so that its example is one that
is known to work: the namespaces, host A's pipeline, how each host is started and B's commands."""
import pathlib
import re
import sys

SOURCE = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(SOURCE / "tests" / "support"), str(SOURCE / "tests" / "multihost")]

import keyfiles  # noqa: E402
import netns  # noqa: E402
from cluster import HOSTS_FILE, frontend, host_words  # noqa: E402

DOC = SOURCE / "docs" / "deployment.md"
HARNESS = SOURCE / "tests" / "multihost"
NAMES = {"a": "zal-a", "b": "zal-b", "client": "zal-client", "switch": "zal-switch"}


def code_blocks():
    return re.findall(r"^```[a-z]*\n(.*?)^```", DOC.read_text(), re.M | re.S)


def run_in(node, *words):
    return " ".join([*netns.exec_prefix(NAMES[node]), *words])


def test_the_namespaces_are_made_as_the_harness_makes_them():
    made = "".join(f"ip {' '.join(command)}\n" for command in netns.setup_commands(NAMES))
    assert made in code_blocks()


def test_host_a_runs_the_harness_pipeline():
    pipeline = HARNESS / "host-a.pipeline"
    assert pipeline.read_text() in code_blocks()
    started = run_in("a", "build/bin/zal-host", "--listen", frontend(netns.NODES["a"]),
                     "--pipeline", str(pipeline.relative_to(SOURCE)))
    assert started in "".join(code_blocks()).splitlines()


def test_host_b_gets_the_harness_commands_from_the_client():
    lines = "".join(code_blocks()).splitlines()
    assert run_in("b", "build/bin/zal-host", "--listen", frontend(netns.NODES["b"])) in lines
    assert HOSTS_FILE.read_text() in code_blocks()
    commands = [line for line in (HARNESS / "host-b.zalctl").read_text().splitlines()
                if line and not line.startswith("#")]
    assert commands
    hosts_file = HOSTS_FILE.relative_to(SOURCE)
    for command in commands:
        assert run_in("client", "build/bin/zalctl", *host_words(hosts_file, "b"), command) in lines


def test_the_keys_are_laid_out_as_in_the_keyed_case():
    assert keyfiles.host_config("a") in code_blocks()
    hosts = "".join(keyfiles.host_line(node, frontend(netns.NODES[node])) for node in ("a", "b"))
    assert hosts in code_blocks()
