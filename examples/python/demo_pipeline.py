"""Builds the demo pipeline on a running zal-host: a generator publishes, a counter counts."""

import sys

import zal

# The frontend: the first argument, else $ZAL_ENDPOINT, else tcp://127.0.0.1:5555.
endpoint = sys.argv[1] if len(sys.argv) > 1 else None

with zal.Client(endpoint, timeout=4.0) as client:
    client.create_group("demo")
    client.create("demo", "gen", "demo.Generator", streams={"numbers": "tcp://127.0.0.1:*"})
    client.set("demo", "gen", "rate", 1000)
    client.create("demo", "counter", "demo.Counter")
    # By name: the group's name service says where the stream is.
    client.connect("demo", "counter", "numbers")
    for stream in client.streams("demo", "gen").value:
        print("gen publishes %s at %s" % (stream["name"], ", ".join(stream["addresses"])))

    # Counters of the whole group, twice a second, until the counter has counted something.
    for sweep in client.top("demo", interval=0.5, count=20):
        counter = sweep.processor("demo", "counter")
        if counter.in_messages:
            print("counter counted %d messages, %.0f a second" % (counter.in_messages, counter.in_rate))
            break
    else:
        sys.exit("the counter counted nothing")
    print("counter says messages=%s" % client.get("demo", "counter", "messages").value)

    client.delete_group("demo")
