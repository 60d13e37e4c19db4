"""CURVE keys of a client: given inline or read from key files in zalctl's format."""

import zmq
import zmq.utils.z85

_KEY_LENGTH = 40


class CurveKeyError(ValueError):
    """A key or key file that cannot be used."""


def is_key(text):
    if len(text) != _KEY_LENGTH:
        return False
    try:
        zmq.utils.z85.decode(text)
    except (ValueError, KeyError, TypeError):
        return False
    return True


def read_key_file(path):
    """Every key of a key file: one a line; blank lines and lines starting with '#' are skipped,
    and a key may be followed by white space and a '#' comment."""
    try:
        with open(path, encoding="utf-8") as file:
            lines = file.read().splitlines()
    except OSError as error:
        raise CurveKeyError("cannot read key file '%s': %s" % (path, error.strerror)) from None
    keys = []
    for number, raw in enumerate(lines, start=1):
        line = raw.strip()
        if not line or line.startswith("#"):
            continue
        # '#' is a Z85 character too (never a key's first one): a comment is set apart by space.
        first, *rest = line.split(None, 1)
        rest = rest[0] if rest else ""
        if not is_key(first) or (rest and not rest.startswith("#")):
            raise CurveKeyError("%s:%d: not a CURVE key (40 Z85 characters) or a comment" % (path, number))
        keys.append(first)
    return keys


def read_single_key(path):
    keys = read_key_file(path)
    if len(keys) != 1:
        raise CurveKeyError("%s: holds %d keys where one is expected" % (path, len(keys)))
    return keys[0]


class Curve:
    """The keys of a CURVE client: the server's public key and this client's secret key, each
    inline (server_key, secret_key) or from a key file (server_key_file, secret_key_file).
    public_key is optional, since it follows from the secret key; when given it must belong to it."""

    def __init__(self, server_key=None, secret_key=None, public_key=None, server_key_file=None,
                 secret_key_file=None):
        self.server_key = self._key(server_key, server_key_file, "server_key", "the server's public key")
        self.secret_key = self._key(secret_key, secret_key_file, "secret_key", "this client's secret key")
        try:
            self.public_key = zmq.curve_public(self.secret_key.encode("ascii")).decode("ascii")
        except zmq.ZMQError:
            raise CurveKeyError("secret_key is not a CURVE secret key (40 Z85 characters).") from None
        if public_key is not None and public_key.strip() != self.public_key:
            raise CurveKeyError("public_key does not belong to the secret key given.")

    @staticmethod
    def _key(inline, path, name, meaning):
        if (inline is None) == (path is None):
            raise CurveKeyError("CURVE needs %s (%s or %s_file), once." % (meaning, name, name))
        key = read_single_key(path) if path is not None else inline.strip()
        if not is_key(key):
            raise CurveKeyError("%s is not a CURVE key (40 Z85 characters)." % name)
        return key

    @classmethod
    def of(cls, value):
        """A Curve from a Curve, a dict of its arguments, or None (no CURVE)."""
        if value is None or isinstance(value, Curve):
            return value
        return cls(**value)

    def apply(self, socket):
        socket.curve_serverkey = self.server_key.encode("ascii")
        socket.curve_publickey = self.public_key.encode("ascii")
        socket.curve_secretkey = self.secret_key.encode("ascii")

    def __repr__(self):
        return "Curve(server_key=%r, public_key=%r)" % (self.server_key, self.public_key)
