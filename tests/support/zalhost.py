"""A real zal-host for the Python tests: started on a free port, stopped at the end."""
import os
import pathlib
import re
import selectors
import subprocess
import threading
import time

SOURCE_DIR = pathlib.Path(os.environ.get("ZAL_SOURCE_DIR", pathlib.Path(__file__).resolve().parents[2]))
BIN_DIR = pathlib.Path(os.environ.get("ZAL_BIN_DIR", SOURCE_DIR / "build" / "bin"))
HOST = os.environ.get("ZAL_HOST", str(BIN_DIR / "zal-host"))
ZALCTL = os.environ.get("ZALCTL", str(BIN_DIR / "zalctl"))

# Sanitizer builds start slowly; a healthy host is far quicker than this.
START_BOUND_S = 60


class ZalHost:
    """zal-host --listen LISTEN in `folder`, its frontend in `endpoint`. `prefix` runs it through
    another program, such as `ip netns exec NAME`, which must exec it in its own process."""

    def __init__(self, folder, *extra_args, listen="tcp://127.0.0.1:*", prefix=()):
        self.folder = folder
        self.output = []
        self.process = subprocess.Popen(
            [*prefix, HOST, "--listen", listen, *extra_args], cwd=folder,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        try:
            self.endpoint = self._wait_for_frontend()
        except BaseException:
            self.stop()
            raise
        # Drained so that a talkative host never blocks on a full pipe.
        threading.Thread(target=self._drain, daemon=True).start()

    def _wait_for_frontend(self):
        deadline = time.monotonic() + START_BOUND_S
        with selectors.DefaultSelector() as selector:
            selector.register(self.process.stdout, selectors.EVENT_READ)
            while time.monotonic() < deadline:
                if not selector.select(timeout=deadline - time.monotonic()):
                    break
                line = self.process.stdout.readline()
                if not line:
                    break
                self.output.append(line)
                found = re.search(r"frontend listening at (\S+)", line)
                if found:
                    return found.group(1)
        raise RuntimeError("zal-host did not report its frontend: " + "".join(self.output))

    def _drain(self):
        for line in self.process.stdout:
            self.output.append(line)

    def kill(self):
        """SIGKILL, as a crash or a power cut ends it: nothing of its own runs after."""
        self.process.kill()
        self.process.wait(timeout=30)

    def stop(self):
        """SIGTERM, a bounded wait, SIGKILL when it does not end; the exit status."""
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(timeout=30)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait(timeout=30)
        return self.process.returncode
