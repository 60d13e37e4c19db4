"""The fixtures of the multi-host harness: the namespaces, a zal-host in each host namespace, and
zalctl run from the client namespace."""
import os
import pathlib
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

import netns  # noqa: E402
from cluster import Client, Hosts  # noqa: E402

HERE = pathlib.Path(__file__).resolve().parent
# CTest's SKIP_RETURN_CODE for this harness.
SKIPPED = 77


def pytest_sessionstart(session):
    reason = netns.why_not_possible()
    if reason is not None:
        print(f"multihost: skipped, no network namespaces here: {reason}", flush=True)
        # One line and CTest's skip status; pytest.exit would add its own banner.
        os._exit(SKIPPED)


@pytest.fixture(scope="session")
def network():
    netns.remove_stale()
    made = netns.Network()
    yield made
    made.remove()


@pytest.fixture
def client(network):
    return Client(network)


@pytest.fixture
def hosts(network, tmp_path):
    started = Hosts(network, tmp_path)
    yield started
    started.stop_all()
