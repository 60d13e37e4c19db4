"""The same pipeline with CURVE keys on every host: only authorised clients and consumers get
anything, and nothing of the stream's payload is readable on the cable between A and B."""
import subprocess

import pytest

import keyfiles
from capture import Capture
from cluster import Client, frontend, wait_until
from test_across_hosts import PIPELINE_A, counter_on_b
from test_wire import MARKER, tcpdump  # noqa: F401 (a fixture)
from zalhost import ZALCTL

# A refused client hears nothing; zalctl gives up after this long.
REFUSED_TIMEOUT_MS = 1500


def keygen(folder, name):
    subprocess.run([ZALCTL, "keygen", "--public-file", str(folder / f"{name}.pub"),
                    "--secret-file", str(folder / f"{name}.secret")],
                   check=True, capture_output=True, timeout=20)
    return (folder / f"{name}.pub").read_text()


def host_config(folder, node, clients, data_readers, peers):
    """The configuration of a host `node`: its keys, whom it lets control and read, whom it reads."""
    (folder / f"{node}.clients").write_text("".join(clients))
    (folder / f"{node}.readers").write_text("".join(data_readers))
    (folder / f"{node}.peers").write_text("".join(f"{host} {key.split()[-1]}\n"
                                                  for host, key in peers.items()))
    config = folder / f"{node}.ini"
    config.write_text(keyfiles.host_config(node))
    return config


@pytest.fixture
def keyed(network, hosts, tmp_path):
    """A and B with keys, B allowed to read A's streams; X in the client namespace with keys of
    its own that A does not admit; the client's hosts file with the keys that reach each."""
    keys = {name: keygen(tmp_path, name) for name in ("a", "b", "x", "client", "stranger")}
    address = network.address
    configs = {
        "a": host_config(tmp_path, "a", [keys["client"]], [keys["b"]], {}),
        "b": host_config(tmp_path, "b", [keys["client"]], [], {address["a"]: keys["a"]}),
        "x": host_config(tmp_path, "x", [keys["client"]], [], {address["a"]: keys["a"]}),
    }
    hosts_file = tmp_path / "client.hosts"
    hosts_file.write_text("".join(
        keyfiles.host_line(node, frontend(address["client" if node == "x" else node]))
        for node in configs))
    hosts.start("a", "--config", str(configs["a"]), "--pipeline", str(PIPELINE_A))
    hosts.start("b", "--config", str(configs["b"]))
    hosts.start("x", "--config", str(configs["x"]), namespace="client")
    client = Client(network, hosts_file)
    for node in ("b", "x"):
        client.run(node, "create-group", "gb")
        client.run(node, "create", "gb", "counter", "demo.Counter")
        client.run(node, "connect", "gb", "counter", "numbers", "--from", "@a/ga")
    return client, tmp_path


def test_an_authorised_consumer_reads_encrypted_data_and_a_stranger_nothing(keyed, network, tcpdump):
    client, folder = keyed
    wait_until(lambda: counter_on_b(client), 15, "the authorised counter on B receives A's stream")
    capture = Capture(network, "a", folder / "curve.pcap", "tcp", "port", "6000")
    floor = counter_on_b(client)
    wait_until(lambda: counter_on_b(client) > floor + 2000, 10, "a second of data while capturing")
    captured = capture.stop()
    assert len(captured) > 2000 * 64 and MARKER not in captured
    assert client.number("x", "gb", "counter", "messages") == 0
    # The stranger's host says why its counter gets nothing.
    top = client.reply("x", "top", "--once", "--interval", "300")
    counter = next(row for row in top["value"]["processors"] if row["name"] == "counter")
    assert counter["in"]["refused"] >= 1 and "10.77.0.1" in counter["in"]["refusal"], counter


def test_a_client_with_a_key_the_host_does_not_know_gets_no_answer(keyed):
    client, folder = keyed
    done = client.run("a", "--curve-secret-key-file", str(folder / "stranger.secret"),
                      "--timeout", str(REFUSED_TIMEOUT_MS), "groups", check=False)
    assert done.returncode == 3, done.stdout + done.stderr
    assert client.reply("a", "groups")["value"] == ["ga"]
