#!/usr/bin/env python3
"""A stream from host A to host B, each in its own network namespace on a bridge: zal (the benchmark
plug-in's Source on A, flat out, into a demo.Counter on B) against raw libzmq PUB/SUB between the same
namespaces, at 64 B and 64 KiB, the two taking turns. Needs root and iproute2.

    sudo python3 bench/crosshost/crosshost.py [--seconds S] [--rounds N] [--bin DIR]

Prints a line per measurement, then per size the medians and their ratio (zal / raw)."""
import argparse
import os
import pathlib
import statistics
import subprocess
import sys
import time

SOURCE = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(SOURCE / "tests" / "support"), str(SOURCE / "tests" / "multihost")]

import netns  # noqa: E402

SIZES = {"64B": 64, "64KiB": 64 * 1024}
STREAM = "tcp://" + netns.NODES["a"] + ":6000"


def options():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--seconds", type=float, default=3, help="length of one measurement")
    parser.add_argument("--rounds", type=int, default=3, help="measurements per size and side")
    parser.add_argument("--bin", default=str(SOURCE / "build" / "bin"), help="the built programs")
    return parser.parse_args()


def zal_rate(network, folder, size, seconds):
    """Messages a second the counter on B takes over `seconds`, read from the client namespace."""
    # Imported once the programs' paths are in the environment, where it reads them.
    from cluster import Client, Hosts, wait_until
    client = Client(network)
    hosts = Hosts(network, folder)
    try:
        hosts.start("a")
        hosts.start("b")
        client.run("a", "create-group", "ga")
        client.run("a", "create", "ga", "source", "zalbench.Source", "--stream", "data=" + STREAM)
        client.run("a", "set", "ga", "source", "size", str(size))
        client.run("b", "create-group", "gb")
        client.run("b", "create", "gb", "counter", "demo.Counter")
        client.run("b", "connect", "gb", "counter", "data", "--address", STREAM)
        wait_until(lambda: client.number("b", "gb", "counter", "messages"), 10, "data on B")
        time.sleep(0.2)  # past the start-up burst and the messages of the size before
        before = client.number("b", "gb", "counter", "messages")
        began = time.monotonic()
        time.sleep(seconds)
        after = client.number("b", "gb", "counter", "messages")
        return (after - before) / (time.monotonic() - began)
    finally:
        hosts.stop_all()


def raw_rate(network, rawpeer, size, seconds):
    publisher = subprocess.Popen([*network.exec_prefix("a"), rawpeer, "pub", STREAM, str(size)])
    try:
        done = subprocess.run([*network.exec_prefix("b"), rawpeer, "sub", STREAM, str(seconds)],
                              capture_output=True, text=True, timeout=seconds + 30, check=True)
        return float(done.stdout.split()[1])
    finally:
        publisher.kill()
        publisher.wait(timeout=30)


def main():
    args = options()
    os.environ.setdefault("ZAL_HOST", str(pathlib.Path(args.bin) / "zal-host"))
    os.environ.setdefault("ZALCTL", str(pathlib.Path(args.bin) / "zalctl"))
    reason = netns.why_not_possible()
    if reason is not None:
        sys.exit(f"crosshost: cannot run here: {reason}")
    netns.remove_stale()
    network = netns.Network()
    folder = pathlib.Path(f"/tmp/zal-crosshost-{os.getpid()}")
    folder.mkdir(exist_ok=True)
    medians = {}
    try:
        for label, size in SIZES.items():
            rates = {"zal": [], "raw": []}
            for round_ in range(args.rounds):
                rates["zal"].append(zal_rate(network, folder, size, args.seconds))
                rates["raw"].append(raw_rate(network, str(pathlib.Path(args.bin) / "zal_rawpeer"),
                                             size, args.seconds))
                print(f"stream_{label} round {round_ + 1}: zal {rates['zal'][-1]:.0f} msg/s, "
                      f"raw {rates['raw'][-1]:.0f} msg/s", flush=True)
            medians[label] = {side: statistics.median(values) for side, values in rates.items()}
    finally:
        network.remove()
    for label, median in medians.items():
        mb = median["zal"] * SIZES[label] / 1e6
        print(f"stream_{label} across namespaces: zal {median['zal']:.0f} msg/s ({mb:.1f} MB/s), "
              f"raw {median['raw']:.0f} msg/s, ratio {median['zal'] / median['raw']:.2f} "
              f"(medians of {args.rounds})")


if __name__ == "__main__":
    main()
