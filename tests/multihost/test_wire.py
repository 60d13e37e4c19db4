"""What crosses the cable between hosts: a stream's payload, read by tcpdump on A's port."""
import shutil

import pytest

from capture import Capture
from cluster import wait_until
from test_across_hosts import counter_on_b, start_pipeline

# The demo generator's payload after its sequence number: plain to anyone on the path.
MARKER = b"abcdefghijklmnopqrstuvwxyz"


@pytest.fixture
def tcpdump():
    # A failure, not a skip: a case that checks nothing must not pass as if it had.
    if shutil.which("tcpdump") is None:
        pytest.fail("no tcpdump: install the Debian package tcpdump (scripts/install-deps.sh does)")


def test_without_keys_the_stream_crosses_in_clear(hosts, client, network, tmp_path, tcpdump):
    start_pipeline(hosts, client)
    wait_until(lambda: counter_on_b(client), 15, "the counter on B receives A's stream")
    capture = Capture(network, "a", tmp_path / "plain.pcap", "tcp", "port", "6000")
    floor = counter_on_b(client)
    wait_until(lambda: counter_on_b(client) > floor + 200, 10, "more data while capturing")
    assert MARKER in capture.stop()
