"""tcpdump on one of the switch's ports: every byte that crosses that node's cable, for a while."""
import selectors
import shutil
import signal
import subprocess
import time

import netns

# tcpdump announces itself within a fraction of a second; a loaded machine gets this long.
START_BOUND_S = 20


class Capture:
    """Writes the packets of `node`'s cable to `path` from construction until `stop()`."""

    def __init__(self, network, node, path, *expression):
        self.path = path
        self.process = subprocess.Popen(
            [*network.exec_prefix("switch"), shutil.which("tcpdump") or "tcpdump", "-i",
             netns.port(node), "--immediate-mode", "-U", "-s", "0", "-w", str(path), *expression],
            stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        self._wait_until_listening()

    def _wait_until_listening(self):
        deadline = time.monotonic() + START_BOUND_S
        said = []
        with selectors.DefaultSelector() as selector:
            selector.register(self.process.stderr, selectors.EVENT_READ)
            while time.monotonic() < deadline and selector.select(deadline - time.monotonic()):
                line = self.process.stderr.readline()
                said.append(line)
                if not line or "listening on" in line:
                    break
        if not said or "listening on" not in said[-1]:
            self.process.kill()
            raise RuntimeError("tcpdump did not start: " + "".join(said))

    def stop(self):
        """The bytes captured."""
        self.process.send_signal(signal.SIGINT)
        self.process.wait(timeout=START_BOUND_S)
        return self.path.read_bytes()
