"""Control messages as the frontend carries them: UTF-8 XML text in, replies parsed out."""

import xml.etree.ElementTree as ElementTree

# The order in which the server writes the children; requests follow it too.
_ORDER = (
    "MessageType",
    "Processor",
    "DataSource",
    "DataStream",
    "StreamName",
    "StreamAddress",
    "StreamAddresses",
    "MessageFilter",
    "ParameterName",
    "Parameter",
    "GroupName",
    "ProcessorName",
    "ProcessorType",
    "MessageText",
    "ResultType",
)
_LISTS = ("StreamAddresses", "MessageFilter")


def _child(parent, tag, text):
    element = ElementTree.SubElement(parent, tag)
    element.text = text
    return element


def _source_element(parent, address, filters):
    source = ElementTree.SubElement(parent, "DataSource")
    _child(source, "Address", address)
    for topic in filters:
        _child(source, "Filter", topic)


def _stream_element(parent, name, addresses):
    stream = ElementTree.SubElement(parent, "DataStream")
    _child(stream, "Name", name)
    for address in addresses:
        _child(stream, "Address", address)


def encode(message_type, processor=None, **fields):
    """The payload of a request: its XML text in UTF-8.

    fields are the message's string properties by their element names; StreamAddresses and
    MessageFilter take lists. processor is a (sources, streams) pair for Create, sources as
    (address, filters) pairs and streams as (name, addresses) pairs.
    """
    root = ElementTree.Element("ControlMessage")
    unknown = set(fields) - set(_ORDER)
    if unknown:
        raise ValueError("not a field of a control message: " + ", ".join(sorted(unknown)))
    for tag in _ORDER:
        if tag == "MessageType":
            _child(root, tag, message_type)
        elif tag == "Processor" and processor is not None:
            element = ElementTree.SubElement(root, "Processor")
            sources, streams = processor
            for address, filters in sources:
                _source_element(element, address, filters)
            for name, addresses in streams:
                _stream_element(element, name, addresses)
        elif tag in _LISTS:
            for item in fields.get(tag, ()):
                _child(root, tag, item)
        elif fields.get(tag) is not None:
            _child(root, tag, str(fields[tag]))
    return ElementTree.tostring(root, encoding="unicode").encode("utf-8")


def _text(element):
    return element.text or ""


def _child_text(element, tag):
    return element.findtext(tag) or ""


def _parse_source(element):
    return {
        "address": _child_text(element, "Address"),
        "filters": [_text(item) for item in element.findall("Filter")],
    }


def _parse_stream(element):
    running = element.find("Running")
    return {
        "name": _child_text(element, "Name"),
        "addresses": [_text(item) for item in element.findall("Address")],
        # A processor that does not say whether its stream runs leaves it open.
        "running": None if running is None else _text(running).strip().lower() not in ("0", "false", ""),
    }


def decode(payload):
    """The fields of a reply payload: strings by element name (absent when not sent), the two string
    lists as lists, DataSource and DataStream as lists of dicts. Raises ValueError when it is no
    control message."""
    text = payload.split(b"\0", 1)[0].decode("utf-8", errors="replace")
    try:
        root = ElementTree.fromstring(text)
    except ElementTree.ParseError as error:
        raise ValueError("not XML: %s" % error) from None
    if root.tag != "ControlMessage":
        raise ValueError("not a ControlMessage but <%s>" % root.tag)
    fields = {"DataSource": [], "DataStream": [], "StreamAddresses": [], "MessageFilter": []}
    for element in root:
        if element.tag == "DataSource":
            fields["DataSource"].append(_parse_source(element))
        elif element.tag == "DataStream":
            fields["DataStream"].append(_parse_stream(element))
        elif element.tag in _LISTS:
            fields[element.tag].append(_text(element))
        elif element.tag != "Processor":
            fields[element.tag] = _text(element)
    return fields
