"""Sweeps of every processor's traffic counters (the reserved parameter zal.status), paced so that
reading a host never floods it."""

import json
import time

from .reply import Timeout, ZalError

STATUS = "zal.status"


class _Pacer:
    """At most per_second requests a second; a pause does not bank requests for a burst."""

    def __init__(self, per_second):
        if per_second <= 0:
            raise ValueError("max_requests_per_second must be positive, not %r" % (per_second,))
        self.spacing = 1.0 / per_second
        self.allowed = time.monotonic()

    def next(self):
        self.allowed = max(self.allowed, time.monotonic())
        time.sleep(max(0.0, self.allowed - time.monotonic()))
        self.allowed += self.spacing


def _count(status, side, key):
    if side == "in":
        return status["input"][key]
    return sum(output[key] for output in status["outputs"])


class ProcessorCounters:
    """One processor in one sweep.

    status is its zal.status object (None when it gave none; problem then says why).
    in_messages, in_bytes, out_messages, out_bytes count since the processor was made (all its
    sources together, all its streams together); the rates (messages and 10^6 bytes a second) are
    taken over the time since the sweep before, None on a processor new since then.
    """

    def __init__(self, group, name, status=None, problem=None, read_at=None):
        self.group = group
        self.name = name
        self.status = status
        self.problem = problem
        self.read_at = read_at
        self.type = status.get("type", "") if status else ""
        for side in ("in", "out"):
            for key in ("messages", "bytes"):
                setattr(self, "%s_%s" % (side, key), _count(status, side, key) if status else None)
        self.in_rate = self.out_rate = self.in_mbps = self.out_mbps = None

    def _rates_since(self, before):
        if self.status is None or before is None or before.status is None:
            return
        seconds = self.read_at - before.read_at
        if seconds <= 0:
            return
        self.in_rate = (self.in_messages - before.in_messages) / seconds
        self.out_rate = (self.out_messages - before.out_messages) / seconds
        self.in_mbps = (self.in_bytes - before.in_bytes) / seconds / 1e6
        self.out_mbps = (self.out_bytes - before.out_bytes) / seconds / 1e6

    def __repr__(self):
        return "ProcessorCounters(%s/%s, in=%r, out=%r, in_rate=%r, out_rate=%r%s)" % (
            self.group, self.name, self.in_messages, self.out_messages, self.in_rate, self.out_rate,
            ", problem=%r" % self.problem if self.problem else "")


class Sweep:
    """Every processor read once: processors (ProcessorCounters, by group and name), requests
    made, duration in seconds, interval since the sweep before, problems (groups that could not
    be listed)."""

    def __init__(self):
        self.processors = []
        self.problems = []
        self.requests = 0
        self.duration = 0.0
        self.interval = None
        self.started = time.monotonic()

    def processor(self, group, name):
        return next((p for p in self.processors if (p.group, p.name) == (group, name)), None)

    def __repr__(self):
        return "Sweep(%d processor(s), %d request(s), interval=%r)" % (
            len(self.processors), self.requests, self.interval)


def _ask(client, pacer, sweep, call, *arguments):
    pacer.next()
    sweep.requests += 1
    return call(*arguments)


def _read_processor(client, pacer, sweep, group, name):
    try:
        reply = _ask(client, pacer, sweep, client.get, group, name, STATUS)
        status = json.loads(reply.value or "")
    except (ZalError, Timeout) as error:
        return ProcessorCounters(group, name, problem="no status: %s" % error)
    except ValueError as error:
        return ProcessorCounters(group, name, problem="no status: not JSON (%s)" % error)
    return ProcessorCounters(group, name, status, read_at=time.monotonic())


def _sweep(client, group, pacer):
    sweep = Sweep()
    groups = [group] if group is not None else _ask(client, pacer, sweep, client.groups).value
    for name in groups:
        try:
            processors = _ask(client, pacer, sweep, client.processors, name).value
        except (ZalError, Timeout) as error:
            sweep.problems.append("group '%s': %s" % (name, error))
            continue
        for processor in processors:
            sweep.processors.append(_read_processor(client, pacer, sweep, name, processor))
    sweep.duration = time.monotonic() - sweep.started
    return sweep


def sweeps(client, group=None, interval=1.0, max_requests_per_second=200, count=None):
    """Yields a Sweep each interval seconds (or as often as the request bound allows), each with
    the rates since the one before; the first comes after two readings an interval apart. A
    failure to list the groups ends the iteration with its exception."""
    pacer = _Pacer(max_requests_per_second)
    before = _sweep(client, group, pacer)
    yielded = 0
    while count is None or yielded < count:
        time.sleep(max(0.0, before.started + interval - time.monotonic()))
        sweep = _sweep(client, group, pacer)
        sweep.interval = sweep.started - before.started
        for counters in sweep.processors:
            counters._rates_since(before.processor(counters.group, counters.name))
        yield sweep
        yielded += 1
        before = sweep
