"""What a request comes back as: a reply, an error reply raised, or no reply in time."""


class Reply:
    """One reply of the system.

    result is "Success", "Warning" or "Error"; text the reply's message text ("" when it has none);
    value what the request asks for (a list, a dict, a string, or None); fields every property the
    reply carried, by its XML element name; source the identity of the service that answered.
    """

    def __init__(self, fields, value=None, source=""):
        self.fields = fields
        self.result = fields.get("ResultType", "Success")
        self.text = fields.get("MessageText", "")
        self.value = value
        self.source = source

    def __repr__(self):
        return "Reply(result=%r, text=%r, value=%r)" % (self.result, self.text, self.value)

    def __str__(self):
        return self.result + (": " + self.text if self.text else "")


class ZalError(Exception):
    """An error reply; .reply holds it. str() is its result and text as zalctl prints them, or
    what the client made of it (for a connect whose stream cannot be resolved)."""

    def __init__(self, reply, text=None):
        super().__init__(str(reply) if text is None else text)
        self.reply = reply

    @property
    def text(self):
        return self.reply.text


class Timeout(TimeoutError):
    """No reply within the client's time-out. The client stays usable: its next request goes out
    on a fresh connection."""

    def __init__(self, text, destination):
        super().__init__(text)
        self.destination = destination
