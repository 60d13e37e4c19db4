"""docs/wire-protocol.md against a real zal-host: every example exchange, as written, in order."""
import os
import pathlib
import re
import sys

import pytest
import zmq

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from zalhost import SOURCE_DIR, ZalHost  # noqa: E402

DOC = SOURCE_DIR / "docs" / "wire-protocol.md"
REPLY_BOUND_MS = 20000
SILENCE_MS = 1000

EXCHANGE = re.compile(
    r"```xml request to=(?P<to>\S+)\n(?P<request>.*?)\n```\s*"
    r"```xml reply from=(?P<frm>\S+)\n(?P<reply>.*?)\n```", re.S)


def identity(written):
    return written.replace("\\0", "\0").encode()


def exchanges():
    text = DOC.read_text(encoding="utf-8")
    found = []
    for match in EXCHANGE.finditer(text):
        line = text.count("\n", 0, match.start()) + 1
        found.append((line, identity(match["to"]), match["request"].encode(), identity(match["frm"]),
                      match["reply"]))
    return text, found


def destinations(text):
    """The doc's table of services: a pattern for each destination and the types it answers."""
    services = []
    for row in re.finditer(r"^\| `(inproc://zal[^`]*)` \|[^|]*\| (.*) \|$", text, re.M):
        pattern = re.escape(row[1]).replace("GROUP", "[^/]+").replace("PROCESSOR", "[^/]+")
        services.append((re.compile(pattern.encode() + b"\0"), set(row[2].split(", "))))
    return services


def service_of(services, to):
    # The name service's row comes before the processors' row, which would match it too.
    return next(index for index, (pattern, _) in enumerate(services) if pattern.fullmatch(to))


def normalised(reply, folder):
    """Only what the doc names as variable: the host's folder and a port the system chose."""
    reply = reply.replace(os.path.realpath(folder), "DIR")
    return re.sub(r"(tcp://127\.0\.0\.1:)\d+", r"\1PORT", reply)


def dealer(endpoint, **options):
    socket = zmq.Context.instance().socket(zmq.DEALER)
    socket.linger = 0
    for name, value in options.items():
        setattr(socket, name, value)
    socket.connect(endpoint)
    return socket


def ask(socket, frames, bound_ms):
    """The reply to `frames`, or None when it cannot be sent or no reply comes within the bound."""
    # A DEALER whose CURVE handshake was refused has no peer: its send would wait for ever.
    socket.sndtimeo = bound_ms
    try:
        socket.send_multipart(frames)
    except zmq.Again:
        return None
    if not socket.poll(bound_ms):
        return None
    return socket.recv_multipart()


@pytest.fixture
def host(tmp_path):
    running = ZalHost(tmp_path)
    yield running
    running.stop()


def test_every_exchange_of_the_doc_is_answered_as_written(host):
    text, found = exchanges()
    assert found and len(found) == text.count("```xml request"), "a request without its reply"
    socket = dealer(host.endpoint)
    for line, to, request, frm, expected in found:
        reply = ask(socket, [b"", to, request], REPLY_BOUND_MS)
        assert reply is not None, f"line {line}: no reply"
        assert reply[:2] == [b"", frm], f"line {line}: frames {reply[:2]}"
        assert normalised(reply[2].decode(), host.folder) == expected, f"line {line}"
    socket.close()

    # Every type each service answers, as the destinations table lists them, succeeds in an example.
    services = destinations(text)
    assert sum(len(types) for _, types in services) == 19
    succeeded = {(service_of(services, to), re.search(rb"<MessageType>(\w*)<", request)[1].decode())
                 for _, to, request, _, reply in found if "<ResultType>Success" in reply}
    for index, (_, types) in enumerate(services):
        assert {(index, kind) for kind in types} <= succeeded, types

def test_frames_and_identities_as_the_doc_describes_them(host):
    query = b"<ControlMessage><MessageType>QueryGroups</MessageType></ControlMessage>"
    answer = (b"<ControlMessage><MessageType>QueryGroups</MessageType><Parameter></Parameter>"
              b"<ResultType>Success</ResultType></ControlMessage>")
    socket = dealer(host.endpoint)

    # Without its zero byte, or without the delimiter, a request is dropped: nothing comes back,
    # and the frontend goes on serving the next one.
    for dropped in ([b"", b"inproc://zal", query], [b"inproc://zal\0", query]):
        assert ask(socket, dropped, SILENCE_MS) is None, dropped
    padded = query + b"\0ignored after the zero byte"
    assert ask(socket, [b"", b"inproc://zal\0", padded], REPLY_BOUND_MS) == [b"", b"inproc://zal\0", answer]
    socket.close()

    # A REQ socket adds and removes the delimiter itself.
    requester = zmq.Context.instance().socket(zmq.REQ)
    requester.linger = 0
    requester.connect(host.endpoint)
    assert ask(requester, [b"inproc://zal\0", query], REPLY_BOUND_MS) == [b"inproc://zal\0", answer]
    requester.close()


def write_key_file(path, key):
    path.write_text("# a CURVE key\n" + key.decode() + "\n")


def test_a_curve_frontend_answers_listed_keys_only(tmp_path):
    server_public, server_secret = zmq.curve_keypair()
    client_public, client_secret = zmq.curve_keypair()
    stranger_public, stranger_secret = zmq.curve_keypair()
    write_key_file(tmp_path / "server.secret", server_secret)
    write_key_file(tmp_path / "authorized_keys", client_public)
    (tmp_path / "curve.ini").write_text(
        "CurveSecretKeyFile=server.secret\nCurveAuthorizedKeysFile=authorized_keys\n")
    assert len(server_public) == 40

    running = ZalHost(tmp_path, "--config", str(tmp_path / "curve.ini"))
    try:
        _, found = exchanges()
        _, to, request, frm, expected = found[0]
        admitted = dealer(running.endpoint, curve_serverkey=server_public, curve_publickey=client_public,
                          curve_secretkey=client_secret)
        reply = ask(admitted, [b"", to, request], REPLY_BOUND_MS)
        assert reply == [b"", frm, expected.encode()]
        admitted.close()

        for refused in (dealer(running.endpoint, curve_serverkey=server_public,
                               curve_publickey=stranger_public, curve_secretkey=stranger_secret),
                        dealer(running.endpoint)):
            assert ask(refused, [b"", to, request], SILENCE_MS) is None
            refused.close()
    finally:
        running.stop()
