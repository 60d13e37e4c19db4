"""A client of a zal system's frontend: one method per request, as zalctl's sub-commands."""

import os

import zmq

from . import message
from .curve import Curve
from .reply import Reply, Timeout, ZalError

DEFAULT_ENDPOINT = "tcp://127.0.0.1:5555"
PREFIX = "inproc://zal"


def _names(fields):
    return [name for name in fields.get("Parameter", "").split(",") if name]


def _value(fields):
    return fields.get("Parameter")


def _resolved(fields):
    return {"processor": fields.get("ProcessorName", ""), "addresses": fields["StreamAddresses"]}


def _checked_name(what, name):
    # Names become path segments of the identities the router routes by.
    if not name:
        raise ValueError("%s must not be empty." % what)
    if "/" in name:
        raise ValueError("%s '%s' must not contain '/'." % (what, name))
    return name


def _sources(sources):
    """(address, filters) pairs from a mapping address -> filters or an iterable of addresses and
    (address, filters) pairs."""
    items = sources.items() if hasattr(sources, "items") else sources
    for item in items:
        if isinstance(item, str):
            yield item, ()
        else:
            address, filters = item
            yield address, (filters,) if isinstance(filters, str) else tuple(filters)


def _streams(streams):
    for name, addresses in dict(streams).items():
        yield name, (addresses,) if isinstance(addresses, str) else tuple(addresses)


class Client:
    """Sends control requests to the frontend at endpoint and waits up to timeout seconds for each
    reply. An error reply raises ZalError, no reply in time raises Timeout. Belongs to the thread
    that uses it.

    endpoint defaults to $ZAL_ENDPOINT, else tcp://127.0.0.1:5555. curve: a zal.Curve, or a dict of
    its arguments (server_key or server_key_file, secret_key or secret_key_file, public_key).
    """

    def __init__(self, endpoint=None, curve=None, timeout=4.0, prefix=PREFIX):
        self.endpoint = endpoint or os.environ.get("ZAL_ENDPOINT") or DEFAULT_ENDPOINT
        if timeout <= 0:
            raise ValueError("timeout must be positive, not %r" % (timeout,))
        self.timeout = timeout
        self.prefix = prefix
        self._curve = Curve.of(curve)
        self._context = zmq.Context.instance()
        self._socket = None
        self._open()

    # -- connection ------------------------------------------------------------------------------

    def _open(self):
        socket = self._context.socket(zmq.REQ)
        socket.linger = 0
        if self._curve is not None:
            self._curve.apply(socket)
        try:
            socket.connect(self.endpoint)
        except zmq.ZMQError as error:
            socket.close()
            raise ValueError("Cannot use endpoint '%s': %s" % (self.endpoint, error)) from None
        self._socket = socket

    def close(self):
        """Drops the connection; requests still on their way are discarded."""
        if self._socket is not None:
            self._socket.close()
            self._socket = None

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def _timed_out(self, destination):
        # A REQ socket waits for the lost reply for ever: the next request goes out on a new one,
        # and a late reply to this request dies with the old socket.
        self.close()
        self._open()
        hint = ", or the server refused these CURVE keys" if self._curve is not None else ""
        raise Timeout(
            "Socket timeout %dms: %s (no reply from %s%s)"
            % (round(self.timeout * 1000), self.endpoint, destination, hint),
            destination,
        )

    def request(self, destination, message_type, processor=None, present=None, **fields):
        """Sends one control message of message_type to the service with the identity destination
        (for example "inproc://zal/g1") and returns its Reply; present(fields) makes the reply's
        value. The other keyword arguments are the message's fields by their XML element names."""
        if self._socket is None:
            raise ValueError("the client is closed")
        payload = message.encode(message_type, processor, **fields)
        self._socket.send_multipart([destination.encode("utf-8") + b"\0", payload])
        if not self._socket.poll(max(1, round(self.timeout * 1000)), zmq.POLLIN):
            self._timed_out(destination)
        frames = self._socket.recv_multipart()
        source = frames[0].rstrip(b"\0").decode("utf-8", errors="replace") if len(frames) > 1 else ""
        try:
            reply_fields = message.decode(frames[-1])
        except ValueError as error:
            raise ZalError(Reply({"ResultType": "Error", "MessageText": "Invalid reply: %s" % error},
                                 source=source)) from None
        reply = Reply(reply_fields, source=source)
        if reply.result == "Error":
            raise ZalError(reply)
        if present is not None:
            reply.value = present(reply_fields)
        return reply

    # -- who answers -----------------------------------------------------------------------------

    def _group(self, group):
        return self.prefix + "/" + _checked_name("group", group)

    def _processor(self, group, processor):
        return self._group(group) + "/" + _checked_name("processor", processor)

    def _name_service(self, group):
        return self._group(group) + "/nameservice"

    # -- the group manager -----------------------------------------------------------------------

    def groups(self):
        """The names of the groups, as Reply.value."""
        return self.request(self.prefix, "QueryGroups", GroupName="", present=_names)

    def create_group(self, group):
        return self.request(self.prefix, "CreateGroup", GroupName=_checked_name("group", group))

    def delete_group(self, group):
        return self.request(self.prefix, "DeleteGroup", GroupName=_checked_name("group", group))

    # -- a group ---------------------------------------------------------------------------------

    def processors(self, group):
        """The names of the group's processors, as Reply.value."""
        return self.request(self._group(group), "QueryProcessors", present=_names)

    def create(self, group, name, type, streams=None, sources=None):
        """Creates processor name of type (for example "demo.Generator") in group.

        streams: {stream name: address or [addresses]}, the streams it publishes (a TCP address
        may take the port "*"). sources: the addresses it reads, as [address, ...], or with topic
        filters {address: [topic, ...]} or [(address, [topic, ...]), ...]; no filter takes every
        topic.
        """
        configuration = (list(_sources(sources or ())), list(_streams(streams or {})))
        return self.request(self._group(group), "Create", processor=configuration,
                            ProcessorName=_checked_name("processor", name), ProcessorType=type)

    def delete(self, group, name):
        return self.request(self._group(group), "Delete", ProcessorName=_checked_name("processor", name))

    # -- a processor -----------------------------------------------------------------------------

    def connect(self, group, processor, stream, address=None, filters=()):
        """Connects the processor's input to stream, which it knows under that name afterwards.
        Without address the stream's name is resolved at the group's name service first and its
        first address used. Each filter subscribes to one topic prefix; none means every topic."""
        destination = self._processor(group, processor)
        if address is None:
            try:
                resolved = self.resolve(group, stream)
            except ZalError as error:
                raise ZalError(error.reply, "Cannot resolve stream '%s': %s" % (stream, error)) from None
            if not resolved.value["addresses"]:
                raise ZalError(resolved, "Cannot resolve stream '%s': it has no address." % stream)
            address = resolved.value["addresses"][0]
        filters = [filters] if isinstance(filters, str) else list(filters)
        return self.request(destination, "Connect", StreamName=stream, StreamAddress=address,
                            MessageFilter=filters)

    def start(self, group, processor, stream):
        return self.request(self._processor(group, processor), "Start", StreamName=stream)

    def stop(self, group, processor, stream):
        return self.request(self._processor(group, processor), "Stop", StreamName=stream)

    def set(self, group, processor, parameter, value):
        return self.request(self._processor(group, processor), "SetParameter", ParameterName=parameter,
                            Parameter=str(value))

    def get(self, group, processor, parameter):
        """The parameter's value, a string, as Reply.value."""
        return self.request(self._processor(group, processor), "GetParameter", ParameterName=parameter,
                            present=_value)

    def list(self, group, processor):
        """The names of the processor's parameters, as Reply.value."""
        return self.request(self._processor(group, processor), "GetParameterList", present=_names)

    def record(self, group, processor, value=""):
        """Starts a new recording; Reply.value is what the processor returns (its file)."""
        return self.request(self._processor(group, processor), "StartNewRecording", Parameter=str(value),
                            present=_value)

    def sources(self, group, processor):
        """[{"address": ADDR, "filters": [TOPIC, ...]}, ...] as Reply.value."""
        return self.request(self._processor(group, processor), "QuerySources",
                            present=lambda fields: fields["DataSource"])

    def streams(self, group, processor):
        """[{"name": NAME, "addresses": [ADDR, ...], "running": True/False/None}, ...] as
        Reply.value."""
        return self.request(self._processor(group, processor), "QueryStreams",
                            present=lambda fields: fields["DataStream"])

    # -- a group's name service ------------------------------------------------------------------

    def register(self, group, stream, processor, addresses):
        addresses = [addresses] if isinstance(addresses, str) else list(addresses)
        return self.request(self._name_service(group), "RegisterStream", StreamName=stream,
                            ProcessorName=_checked_name("processor", processor), StreamAddresses=addresses)

    def deregister(self, group, stream):
        return self.request(self._name_service(group), "DeregisterStream", StreamName=stream)

    def resolve(self, group, stream):
        """{"processor": NAME, "addresses": [ADDR, ...]} as Reply.value."""
        return self.request(self._name_service(group), "ResolveStream", StreamName=stream, present=_resolved)

    # -- counters --------------------------------------------------------------------------------

    def top(self, group=None, interval=1.0, max_requests_per_second=200, count=None):
        """Sweeps of every processor's counters (of every group, or of group), one each interval
        seconds or as fast as the request bound allows; see zal.top.Sweep. count: how many sweeps
        to yield, None for no end."""
        from .top import sweeps

        return sweeps(self, group, interval, max_requests_per_second, count)
