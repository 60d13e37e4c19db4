"""The example of docs/python.md: the doc shows the file as it is, and it runs as the doc says."""

import os
import re
import shutil
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


def test_the_docs_install_lines_install_a_working_package(tmp_path):
    doc = (SOURCE / "docs" / "python.md").read_text()
    lines = re.search(r"```sh\n(python3 -m venv.*?)```", doc, re.DOTALL).group(1)
    shutil.copytree(SOURCE / "python" / "zal", tmp_path / "python" / "zal")
    shutil.copy(SOURCE / "python" / "pyproject.toml", tmp_path / "python")
    shutil.copy(SOURCE / "python" / "README.md", tmp_path / "python")
    # Debian's interpreter, as on a fresh machine, whatever python3 this test runs under.
    environment = dict(os.environ, PATH="/usr/bin:" + os.environ.get("PATH", ""))
    environment.pop("PYTHONPATH", None)
    ran = subprocess.run(["bash", "-euc", lines], cwd=tmp_path, capture_output=True, text=True,
                         timeout=180, env=environment)
    assert ran.returncode == 0, ran.stdout + ran.stderr
    assert "Successfully installed zal" in ran.stdout, ran.stdout
    assert ran.stdout.rstrip().endswith("<class 'zal.client.Client'>"), ran.stdout
