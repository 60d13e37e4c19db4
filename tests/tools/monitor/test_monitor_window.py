"""zal-monitor in a real window under Xvfb, against a real zal-host running a generator that feeds a
fast and a throttled counter: the screenshot it saves, and the names and health it says it shows."""

import os
import pathlib
import shutil
import struct
import subprocess
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "support"))
from zalhost import BIN_DIR, ZALCTL, ZalHost  # noqa: E402

MONITOR = BIN_DIR / "zal-monitor"
# Kept after the run for a person to look at.
ARTEFACT = BIN_DIR.parent / "test-artefacts" / "zal-monitor.png"
MONITOR_SECONDS = 150
# Generous: under the sanitizers zal-host answers many times slower.
REPLY_SECONDS = 15.0


def zalctl(endpoint, *words):
    done = subprocess.run([ZALCTL, "-e", endpoint, *words], capture_output=True, text=True,
                          timeout=REPLY_SECONDS * 2)
    assert done.returncode == 0, "zalctl %s: %s%s" % (" ".join(words), done.stdout, done.stderr)


def start_pipeline(endpoint):
    zalctl(endpoint, "create-group", "pipeline")
    zalctl(endpoint, "create", "pipeline", "gen", "demo.Generator", "--stream", "numbers=tcp://127.0.0.1:*")
    zalctl(endpoint, "create", "pipeline", "fast", "demo.Counter")
    zalctl(endpoint, "create", "pipeline", "slow", "demo.Counter")
    # About 500 messages a second at most: it cannot keep up with 5000 and loses what overflows.
    zalctl(endpoint, "set", "pipeline", "slow", "costUs", "2000")
    zalctl(endpoint, "connect", "pipeline", "fast", "numbers")
    zalctl(endpoint, "connect", "pipeline", "slow", "numbers")
    zalctl(endpoint, "set", "pipeline", "gen", "rate", "5000")


def png_size(path):
    data = path.read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", "%s is not a PNG" % path
    width, height = struct.unpack(">II", data[16:24])
    return len(data), width, height


def test_window_shows_the_pipeline_and_marks_the_throttled_consumer(tmp_path):
    if shutil.which("xvfb-run") is None:
        pytest.fail("xvfb-run is missing: install Debian's xvfb (scripts/install-deps.sh installs it)")
    host = ZalHost(tmp_path)
    try:
        start_pipeline(host.endpoint)
        ARTEFACT.parent.mkdir(exist_ok=True)
        if ARTEFACT.exists():
            ARTEFACT.unlink()
        # A real X server and window, whatever the suite sets for the tests without a display.
        environment = dict(os.environ, QT_QPA_PLATFORM="xcb")
        shown = subprocess.run(["xvfb-run", "-a", "-s", "-screen 0 1280x900x24", str(MONITOR), "-e", host.endpoint,
                                "--screenshot", str(ARTEFACT), "--after", "4"],
                               capture_output=True, text=True, timeout=MONITOR_SECONDS, env=environment)
    finally:
        host.stop()
    assert shown.returncode == 0, "zal-monitor: %s%s" % (shown.stdout, shown.stderr)
    lines = shown.stdout.splitlines()
    health = {line.split()[1]: line.split()[3] for line in lines if line.startswith("processor ")}
    assert "group pipeline" in lines, shown.stdout
    assert health == {"pipeline/gen": "running", "pipeline/fast": "running", "pipeline/slow": "losing"}, shown.stdout
    assert "processor pipeline/gen demo.Generator running" in lines
    assert "edge pipeline/gen numbers -> pipeline/fast" in lines, shown.stdout
    assert "edge pipeline/gen numbers -> pipeline/slow" in lines, shown.stdout
    size, width, height = png_size(ARTEFACT)
    assert width >= 800 and height >= 500, "the window is %dx%d" % (width, height)
    assert size > 20000, "a %d-byte screenshot shows next to nothing" % size


def test_options_that_cannot_be_used_end_it_before_any_window_opens():
    # No display is needed to be told so: nothing here may open a window.
    environment = {key: value for key, value in os.environ.items() if key != "DISPLAY"}
    environment["QT_QPA_PLATFORM"] = "xcb"
    for arguments, said in [(["--curve-server-key", "short"], "--curve-server-key is not a CURVE key"),
                            (["--timeout", "0"], "--timeout '0' is not a positive number of milliseconds."),
                            (["--nope"], "Unknown option 'nope'.")]:
        done = subprocess.run([str(MONITOR), *arguments], capture_output=True, text=True, timeout=30,
                              env=environment)
        assert (done.returncode, done.stdout) == (64, ""), done.stderr
        assert done.stderr.startswith("zal-monitor: " + said), done.stderr
