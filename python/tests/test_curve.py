"""CURVE against a zal-host that admits one authorised client, with keys made by zalctl keygen."""

import subprocess

import pytest
from conftest import REPLY_SECONDS, ZALCTL, Host

import zal


def _keygen(folder, name):
    made = subprocess.run(
        [ZALCTL, "keygen", "--public-file", str(folder / (name + ".pub")), "--secret-file",
         str(folder / (name + ".secret"))],
        capture_output=True, text=True, timeout=60, check=True)
    keys = dict(line.split(": ", 1) for line in made.stdout.splitlines())
    return keys["public-key"], keys["secret-key"]


@pytest.fixture(scope="module")
def curve_host(tmp_path_factory):
    folder = tmp_path_factory.mktemp("curve")
    keys = {name: _keygen(folder, name) for name in ("server", "me", "stranger")}
    (folder / "authorized_keys").write_text((folder / "me.pub").read_text())
    config = folder / "curve.ini"
    config.write_text("CurveSecretKeyFile=%s\nCurveAuthorizedKeysFile=%s\n"
                      % (folder / "server.secret", folder / "authorized_keys"))
    started = Host(folder, config)
    yield started, folder, keys
    assert started.stop() == 0


def test_an_authorised_client_is_answered_with_keys_from_files_or_inline(curve_host):
    host, folder, keys = curve_host
    from_files = {"server_key_file": folder / "server.pub", "secret_key_file": folder / "me.secret"}
    with zal.Client(host.endpoint, curve=from_files, timeout=REPLY_SECONDS) as client:
        client.create_group("secured")
        assert client.groups().value == ["secured"]
    inline = zal.Curve(server_key=keys["server"][0], secret_key=keys["me"][1], public_key=keys["me"][0])
    with zal.Client(host.endpoint, curve=inline, timeout=REPLY_SECONDS) as client:
        assert client.groups().value == ["secured"]


def test_a_client_the_server_does_not_know_times_out_saying_why(curve_host):
    host, folder, keys = curve_host
    stranger = zal.Curve(server_key_file=folder / "server.pub", secret_key=keys["stranger"][1])
    with zal.Client(host.endpoint, curve=stranger, timeout=0.5) as client:
        with pytest.raises(zal.Timeout, match="or the server refused these CURVE keys"):
            client.groups()
    with zal.Client(host.endpoint, timeout=0.5) as plain:
        with pytest.raises(zal.Timeout):
            plain.groups()


def test_keys_that_cannot_be_used_are_refused_before_anything_is_sent(curve_host, tmp_path):
    _, folder, keys = curve_host
    server_file = folder / "server.pub"
    with pytest.raises(zal.CurveKeyError, match="needs this client's secret key"):
        zal.Curve(server_key_file=server_file)
    with pytest.raises(zal.CurveKeyError, match="does not belong to the secret key"):
        zal.Curve(server_key_file=server_file, secret_key=keys["me"][1], public_key=keys["stranger"][0])
    commented = tmp_path / "commented.pub"
    commented.write_text("# a comment\n\n%s   # the server\n" % keys["server"][0])
    assert zal.Curve(server_key_file=commented, secret_key=keys["me"][1]).server_key == keys["server"][0]
    two = tmp_path / "two.pub"
    two.write_text("%s\n%s\n" % (keys["server"][0], keys["me"][0]))
    with pytest.raises(zal.CurveKeyError, match="holds 2 keys where one is expected"):
        zal.Curve(server_key_file=two, secret_key=keys["me"][1])
    broken = tmp_path / "broken.pub"
    broken.write_text(keys["server"][0][:-1] + "\n")
    with pytest.raises(zal.CurveKeyError, match=r"broken.pub:1: not a CURVE key"):
        zal.Curve(server_key_file=broken, secret_key=keys["me"][1])
