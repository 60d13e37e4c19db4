"""A zal-host in each host namespace, zalctl run in the client namespace (the only place the hosts
are controlled from), and the bounded polling every wait on a host goes through."""
import json
import pathlib
import subprocess
import time

from zalhost import ZALCTL, ZalHost

FRONTEND_PORT = 5555
HOSTS_FILE = pathlib.Path(__file__).resolve().parent / "client.hosts"
# A reply takes milliseconds; a loaded machine with sanitizers may take seconds.
CTL_BOUND_S = 20


class Timeout(AssertionError):
    pass


def wait_until(condition, bound_s, what):
    """Polls `condition` until it returns something true; its value. Fails after `bound_s`."""
    deadline = time.monotonic() + bound_s
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise Timeout(f"{what}: not within {bound_s} s")
        time.sleep(0.1)


def frontend(address):
    return f"tcp://{address}:{FRONTEND_PORT}"


def host_words(hosts_file, node):
    """zalctl's options that send a command to `node` by its name in `hosts_file`."""
    return ["--hosts", str(hosts_file), "-e", "@" + node]


class Client:
    """Names the hosts by the lines of `hosts_file`, which may carry their CURVE keys."""

    def __init__(self, network, hosts_file=HOSTS_FILE):
        self.network = network
        self.hosts_file = hosts_file

    def run(self, node, *args, check=True):
        command = [*self.network.exec_prefix("client"), ZALCTL, "--json",
                   *host_words(self.hosts_file, node), *args]
        done = subprocess.run(command, capture_output=True, text=True, timeout=CTL_BOUND_S)
        if check and done.returncode != 0:
            raise AssertionError(f"{' '.join(args)} at {node}: status {done.returncode}: "
                                 f"{done.stdout}{done.stderr}")
        return done

    def reply(self, node, *args):
        return json.loads(self.run(node, *args).stdout.splitlines()[-1])

    def number(self, node, group, processor, parameter):
        """The parameter as a number; None when the host does not answer (yet)."""
        done = self.run(node, "get", group, processor, parameter, check=False)
        if done.returncode != 0:
            return None
        return int(float(json.loads(done.stdout.splitlines()[-1])["value"]))


class Hosts:
    """The zal-host of each host namespace, listening on its own address, started per test."""

    def __init__(self, network, folder):
        self.network = network
        self.folder = folder
        self.running = {}

    def start(self, node, *extra_args, namespace=None):
        """A zal-host called `node`, in the namespace of that name unless another is given."""
        namespace = namespace or node
        folder = self.folder / node
        folder.mkdir(exist_ok=True)
        self.running[node] = ZalHost(folder, *extra_args, listen=frontend(self.network.address[namespace]),
                                     prefix=self.network.exec_prefix(namespace))
        return self.running[node]

    def stop_all(self):
        for host in self.running.values():
            host.stop()
