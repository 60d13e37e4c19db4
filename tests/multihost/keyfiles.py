"""The CURVE files of a keyed host and of the client, as the harness writes them and
docs/deployment.md shows them."""


def host_config(node):
    """A host's configuration: its secret key, whom it lets control it, whom it lets read its
    streams, and the public keys of the hosts whose streams it reads."""
    return (f"CurveSecretKeyFile={node}.secret\nCurveAuthorizedKeysFile={node}.clients\n"
            f"CurveDataAuthorizedKeysFile={node}.readers\nCurvePeerKeysFile={node}.peers\n")


def host_line(node, endpoint):
    """The client's hosts file line for a keyed host."""
    return f"host {node} {endpoint} --curve-server-key-file {node}.pub --curve-secret-key-file client.secret\n"
