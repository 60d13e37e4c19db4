"""The client against a real zal-host: every request, error replies, time-outs, counters."""

import threading
import time

import pytest
import zmq
from conftest import REPLY_SECONDS

import zal


@pytest.fixture
def client(host):
    with zal.Client(host.endpoint, timeout=REPLY_SECONDS) as opened:
        yield opened


def test_requests_carry_their_fields_and_replies_their_values(client, group_name, tmp_path):
    g = group_name
    assert client.create_group(g).result == "Success"
    assert g in client.groups().value
    client.create(g, "gen", "demo.Generator", streams={"out": ["tcp://127.0.0.1:*", "inproc://py/out"]})
    client.create(g, "filtered", "demo.Counter", sources={"inproc://py/out": ["t1", "t2"]})
    client.create(g, "plain", "demo.Counter", sources=["inproc://nobody/binds"])
    assert client.processors(g).value == ["filtered", "gen", "plain"]

    [stream] = client.streams(g, "gen").value
    tcp, inproc = stream["addresses"]
    assert stream["name"] == "out" and tcp.startswith("tcp://127.0.0.1:") and not tcp.endswith(":*")
    assert (inproc, stream["running"]) == ("inproc://py/out", True)
    assert client.sources(g, "filtered").value == [{"address": "inproc://py/out", "filters": ["t1", "t2"]}]
    assert client.sources(g, "plain").value == [{"address": "inproc://nobody/binds", "filters": []}]
    assert client.resolve(g, "out").value == {"processor": "gen", "addresses": [tcp, inproc]}

    client.register(g, "other", "plain", ["tcp://10.0.0.1:1", "tcp://10.0.0.1:2"])
    assert client.resolve(g, "other").value["addresses"] == ["tcp://10.0.0.1:1", "tcp://10.0.0.1:2"]
    client.deregister(g, "other")
    with pytest.raises(zal.ZalError):
        client.resolve(g, "other")

    client.set(g, "gen", "topic", "a&b <c>")
    assert client.get(g, "gen", "topic").value == "a&b <c>"
    assert client.list(g, "gen").value == ["rate", "sent", "size", "topic"]
    client.stop(g, "gen", "out")
    assert client.streams(g, "gen").value[0]["running"] is False
    client.start(g, "gen", "out")

    client.create(g, "rec", "demo.Recorder")
    client.set(g, "rec", "directory", tmp_path)
    assert client.record(g, "rec", "first.zrec").value == str(tmp_path / "first.zrec")
    assert (tmp_path / "first.zrec").exists()

    client.delete(g, "plain")
    assert "plain" not in client.processors(g).value
    client.delete_group(g)
    assert g not in client.groups().value


def test_error_replies_raise_with_the_reply_and_its_text(client, group_name):
    client.create_group(group_name)
    with pytest.raises(zal.ZalError) as raised:
        client.create_group(group_name)
    assert raised.value.reply.result == "Error"
    assert raised.value.text == "A group with the name '%s' already exists." % group_name
    assert str(raised.value) == "Error: " + raised.value.text

    client.create(group_name, "counter", "demo.Counter")
    with pytest.raises(zal.ZalError, match=r"^Error: Cannot get parameter: count \(no parameter 'count'"):
        client.get(group_name, "counter", "count")
    with pytest.raises(zal.ZalError, match="^Cannot resolve stream 'nowhere': Error: "):
        client.connect(group_name, "counter", "nowhere")
    with pytest.raises(zal.ZalError, match="could not be created"):
        client.create(group_name, "x", "demo.Nope")
    with pytest.raises(ValueError, match="must not contain '/'"):
        client.create(group_name, "a/b", "demo.Counter")
    # After all that the connection still serves.
    assert client.processors(group_name).value == ["counter"]


def _answer(router, request, groups):
    identity, empty, destination, _ = request
    reply = "<ControlMessage><MessageType>QueryGroups</MessageType><Parameter>%s</Parameter></ControlMessage>"
    router.send_multipart([identity, empty, destination, (reply % groups).encode()])


def _late_then_prompt_server(router, first_timed_out):
    """Leaves the first request unanswered until the client gave up on it, answers it then, and
    answers the next one at once with a text of its own."""
    first = router.recv_multipart()
    first_timed_out.wait(REPLY_SECONDS)
    _answer(router, first, "late")
    if router.poll(REPLY_SECONDS * 1000):
        _answer(router, router.recv_multipart(), "prompt")


def test_a_timeout_raises_within_its_bound_and_the_next_request_gets_its_own_reply():
    context = zmq.Context.instance()
    router = context.socket(zmq.ROUTER)
    router.linger = 0
    router.bind("tcp://127.0.0.1:*")
    first_timed_out = threading.Event()
    server = threading.Thread(target=_late_then_prompt_server, args=(router, first_timed_out))
    server.start()
    try:
        with zal.Client(router.last_endpoint.decode(), timeout=0.3) as client:
            began = time.monotonic()
            with pytest.raises(zal.Timeout, match=r"^Socket timeout 300ms: .*no reply from inproc://zal\)"):
                client.groups()
            # zmq_poll measures with a coarser clock than time.monotonic().
            assert 0.25 <= time.monotonic() - began < 0.3 + 5
            first_timed_out.set()
            client.timeout = REPLY_SECONDS
            assert client.groups().value == ["prompt"]
    finally:
        first_timed_out.set()
        server.join(REPLY_SECONDS * 3)
        router.close()
    assert not server.is_alive()


def test_a_name_nobody_has_times_out_and_the_client_goes_on(host):
    with zal.Client(host.endpoint, timeout=0.5) as client:
        with pytest.raises(zal.Timeout) as raised:
            client.get("no-such-group", "p", "x")
        assert raised.value.destination == "inproc://zal/no-such-group/p"
        client.timeout = REPLY_SECONDS
        assert isinstance(client.groups().value, list)


def test_top_yields_counters_at_a_bounded_request_rate(client, group_name):
    g = group_name
    client.create_group(g)
    client.create(g, "gen", "demo.Generator", streams={"numbers": "tcp://127.0.0.1:*"})
    client.set(g, "gen", "rate", 500)
    client.create(g, "counter", "demo.Counter")
    client.connect(g, "counter", "numbers")

    sweeps = []
    for sweep in client.top(g, interval=0.2, max_requests_per_second=10, count=30):
        sweeps.append(sweep)
        if sweep.processor(g, "counter").in_rate:
            break
    last = sweeps[-1]
    counter, gen = last.processor(g, "counter"), last.processor(g, "gen")
    assert counter.type == "demo.Counter" and gen.type == "demo.Generator"
    assert counter.in_messages > 0 and counter.in_rate > 0 and counter.out_messages == 0
    assert gen.out_messages >= counter.in_messages and gen.out_rate > 0 and gen.in_messages == 0
    assert gen.status["streams"][0]["name"] == "numbers"
    # One processors request and one zal.status a processor, each a tenth of a second apart.
    assert last.requests == 3 and last.duration >= 0.2
    assert last.interval >= 0.2

    client.delete(g, "gen")
    [sweep] = client.top(g, interval=0.1, count=1)
    assert [p.name for p in sweep.processors] == ["counter"]
    client.delete_group(g)
