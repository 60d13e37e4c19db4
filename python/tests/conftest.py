"""Real zal-host processes for the tests: started on a free port, stopped with SIGTERM."""

import itertools
import os
import pathlib
import selectors
import signal
import subprocess
import sys
import time

import pytest

SOURCE = pathlib.Path(os.environ.get("ZAL_SOURCE_DIR") or pathlib.Path(__file__).resolve().parents[2])
sys.path.insert(0, str(SOURCE / "python"))

BIN = pathlib.Path(os.environ.get("ZAL_BIN_DIR") or SOURCE / "build" / "bin")
ZAL_HOST = os.environ.get("ZAL_HOST") or str(BIN / "zal-host")
ZALCTL = os.environ.get("ZALCTL") or str(BIN / "zalctl")

# Generous: under the sanitizers zal-host starts and answers many times slower.
START_SECONDS = 60
STOP_SECONDS = 30
REPLY_SECONDS = 15.0

_names = itertools.count(1)


class Host:
    """One zal-host listening on a free TCP port of 127.0.0.1."""

    def __init__(self, workdir, config=None):
        arguments = [ZAL_HOST, "--listen", "tcp://127.0.0.1:*"]
        if config is not None:
            arguments += ["--config", str(config)]
        self.log = open(workdir / ("zal-host-%d.log" % next(_names)), "w+b")
        self.process = subprocess.Popen(arguments, cwd=workdir, stdout=subprocess.PIPE, stderr=self.log)
        self.endpoint = self._wait_for_frontend()

    def _wait_for_frontend(self):
        marker = b"frontend listening at "
        deadline = time.monotonic() + START_SECONDS
        with selectors.DefaultSelector() as selector:
            selector.register(self.process.stdout, selectors.EVENT_READ)
            while time.monotonic() < deadline:
                if not selector.select(deadline - time.monotonic()):
                    continue
                line = self.process.stdout.readline()
                if not line:
                    break
                if marker in line:
                    return line.split(marker, 1)[1].strip().decode()
        self.stop()
        self.log.seek(0)
        pytest.fail("zal-host did not listen within %d s: %s" % (START_SECONDS, self.log.read().decode()))

    def stop(self):
        """SIGTERM, a bounded wait, SIGKILL when it does not end; the exit status."""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            try:
                self.process.wait(STOP_SECONDS)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait(STOP_SECONDS)
        self.process.stdout.close()
        self.log.close()
        return self.process.returncode


@pytest.fixture(scope="session")
def host(tmp_path_factory):
    started = Host(tmp_path_factory.mktemp("host"))
    yield started
    assert started.stop() == 0, "zal-host did not stop cleanly"


@pytest.fixture
def group_name():
    """A group name no other test uses, as they share one host."""
    return "g%d" % next(_names)
