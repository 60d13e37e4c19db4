"""Three network namespaces (host A, host B, client) joined by a bridge in a fourth, made and removed
with iproute2. Every name carries the owner's process id and a random tag, so parallel runs never
share one, and the namespaces of a run whose process is gone are removed by the next."""
import os
import secrets
import shutil
import subprocess

PREFIX = "zalmh-"
SUBNET = "10.77.0."
# Interface names are per namespace, so the same ones serve every run.
NODES = {"a": SUBNET + "1", "b": SUBNET + "2", "client": SUBNET + "3"}
# Each `ip` call is quick; a kernel that takes longer is not one to test on.
IP_BOUND_S = 20


def ip(*args, check=True):
    return subprocess.run(["ip", *args], capture_output=True, text=True, timeout=IP_BOUND_S, check=check)


def why_not_possible():
    """None when namespaces can be made here, else the reason in a few words."""
    if shutil.which("ip") is None:
        return "no `ip` command (Debian package iproute2)"
    if os.geteuid() != 0:
        return "not root, network namespaces need CAP_SYS_ADMIN"
    probe = f"{PREFIX}{os.getpid()}-{secrets.token_hex(3)}-probe"
    made = ip("netns", "add", probe, check=False)
    if made.returncode != 0:
        return "`ip netns add` failed: " + made.stderr.strip()
    ip("netns", "delete", probe, check=False)
    return None


def _owner_alive(name):
    pid = name[len(PREFIX):].split("-", 1)[0]
    if not pid.isdigit():
        return True  # not one of ours: left alone
    try:
        os.kill(int(pid), 0)
    except ProcessLookupError:
        return False
    except PermissionError:
        pass
    return True


def remove_stale():
    """Removes the namespaces left by runs whose process is gone (a killed run); their names."""
    listed = ip("netns", "list", check=False).stdout.split("\n")
    stale = [line.split()[0] for line in listed
             if line.startswith(PREFIX) and not _owner_alive(line.split()[0])]
    for name in stale:
        ip("netns", "delete", name, check=False)
    return stale


def exec_prefix(name):
    """What runs a command in the namespace `name`."""
    return ["ip", "netns", "exec", name]


def port(node):
    """The switch's side of the node's cable."""
    return "to-" + node


def setup_commands(names):
    """The `ip` arguments that make the namespaces `names` (node: name, and "switch") and join them;
    each node gets an eth0 with its address, the switch a bridge with a port to each node."""
    switch = names["switch"]
    commands = []
    for name in names.values():
        commands += [["netns", "add", name], ["-n", name, "link", "set", "lo", "up"]]
    commands += [["-n", switch, "link", "add", "br0", "type", "bridge"],
                 ["-n", switch, "link", "set", "br0", "up"]]
    for node, address in NODES.items():
        commands += [["-n", switch, "link", "add", "name", port(node), "type", "veth", "peer", "name",
                      "eth0", "netns", names[node]],
                     ["-n", switch, "link", "set", "dev", port(node), "master", "br0", "up"],
                     ["-n", names[node], "addr", "add", address + "/24", "dev", "eth0"],
                     ["-n", names[node], "link", "set", "eth0", "up"]]
    return commands


class Network:
    """The namespaces of one run; `exec_prefix(node)` runs a command in one of them."""

    def __init__(self):
        tag = f"{PREFIX}{os.getpid()}-{secrets.token_hex(3)}"
        self.names = {node: f"{tag}-{node}" for node in [*NODES, "switch"]}
        self.address = dict(NODES)
        try:
            self._build()
        except BaseException:
            self.remove()
            raise

    def _build(self):
        for command in setup_commands(self.names):
            ip(*command)

    def exec_prefix(self, node):
        return exec_prefix(self.names[node])

    def set_link(self, node, up):
        """The node's cable in or out: its side of the switch up or down."""
        ip("-n", self.names["switch"], "link", "set", "dev", port(node), "up" if up else "down")

    def remove(self):
        # Deleting a namespace deletes the veth ends in it, and with them their peers.
        for name in self.names.values():
            ip("netns", "delete", name, check=False)
