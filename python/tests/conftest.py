"""Real zal-host processes for the tests: started on a free port, stopped with SIGTERM."""

import itertools
import os
import pathlib
import sys

import pytest

SOURCE = pathlib.Path(os.environ.get("ZAL_SOURCE_DIR") or pathlib.Path(__file__).resolve().parents[2])
sys.path.insert(0, str(SOURCE / "python"))
sys.path.insert(0, str(SOURCE / "tests" / "support"))

from zalhost import ZALCTL, ZalHost  # noqa: E402, F401 (ZALCTL: for the tests)

# Generous: under the sanitizers zal-host answers many times slower.
REPLY_SECONDS = 15.0

_names = itertools.count(1)


def Host(folder, config=None):
    """One zal-host listening on a free TCP port of 127.0.0.1, with a configuration file or none."""
    return ZalHost(folder, *(["--config", str(config)] if config is not None else []))


@pytest.fixture(scope="session")
def host(tmp_path_factory):
    started = Host(tmp_path_factory.mktemp("host"))
    yield started
    assert started.stop() == 0, "zal-host did not stop cleanly"


@pytest.fixture
def group_name():
    """A group name no other test uses, as they share one host."""
    return "g%d" % next(_names)
