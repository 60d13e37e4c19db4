"""The example of docs/python.md: the doc shows the file as it is, and it runs as the doc says."""

import os
import re
import subprocess
import sys

from conftest import SOURCE

EXAMPLE = SOURCE / "examples" / "python" / "demo_pipeline.py"


def test_the_doc_quotes_the_example_file_verbatim():
    doc = (SOURCE / "docs" / "python.md").read_text()
    quoted = re.search(r"\(\.\./examples/python/demo_pipeline\.py\).*?```python\n(.*?)```", doc, re.DOTALL)
    assert quoted is not None, "docs/python.md does not quote the example after naming it"
    assert quoted.group(1) == EXAMPLE.read_text()


def test_the_example_builds_the_demo_pipeline_and_the_counter_counts(host):
    environment = dict(os.environ, PYTHONPATH=str(SOURCE / "python"))
    ran = subprocess.run([sys.executable, str(EXAMPLE), host.endpoint], capture_output=True, text=True,
                         timeout=120, env=environment)
    assert ran.returncode == 0, ran.stderr
    lines = ran.stdout.splitlines()
    assert re.fullmatch(r"gen publishes numbers at tcp://127\.0\.0\.1:\d+", lines[0]), lines
    counted = re.fullmatch(r"counter counted (\d+) messages, (\d+) a second", lines[1])
    assert counted and int(counted.group(1)) > 0 and int(counted.group(2)) > 0, lines
    said = re.fullmatch(r"counter says messages=(\d+)", lines[2])
    assert said and int(said.group(1)) >= int(counted.group(1)), lines
    assert len(lines) == 3, lines
