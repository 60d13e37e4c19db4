"""Where namespaces cannot be made the harness says why in one line and ends with CTest's skip
status, never as passed."""
import os
import subprocess
import sys

import pytest

from conftest import HERE, SKIPPED


def harness_output(prefix=(), path=None):
    env = dict(os.environ, PATH=path or os.environ["PATH"])
    done = subprocess.run([*prefix, sys.executable, "-m", "pytest", "-q", "-p", "no:cacheprovider",
                           str(HERE / "test_across_hosts.py")], cwd="/", env=env,
                          capture_output=True, text=True, timeout=60)
    return done.returncode, done.stdout.strip().splitlines() + done.stderr.strip().splitlines()


def test_without_iproute2_the_harness_is_skipped(tmp_path):
    status, lines = harness_output(path=str(tmp_path))
    assert (status, len(lines)) == (SKIPPED, 1), lines
    assert lines[0].startswith("multihost: skipped, no network namespaces here: no `ip` command")


def test_without_root_the_harness_is_skipped():
    setpriv = "/usr/bin/setpriv"
    if not os.path.exists(setpriv):
        pytest.skip("no setpriv (util-linux) to drop root with")
    status, lines = harness_output(prefix=(setpriv, "--reuid=65534", "--regid=65534",
                                                     "--clear-groups"))
    assert (status, len(lines)) == (SKIPPED, 1), lines
    assert lines[0].startswith("multihost: skipped, no network namespaces here: not root")
